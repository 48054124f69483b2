import java.io.DataInputStream;
import java.io.EOFException;
import java.io.IOException;
import java.io.PrintWriter;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.sql.Connection;
import java.sql.DriverManager;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.sql.Statement;
import java.sql.Types;
import java.util.stream.Collectors;

/**
 * Executes statements on an empty database that speaks the dialect of SQL Server.
 *
 * Arguments: a file of statements and one for the answers. A statement is its number of units (four bytes) and the
 * units (two bytes each), most significant byte first. Its answer is a line: a word for each value of each row, "T"
 * and the units of a text, "B" and bytes, "D" and the bits of a double, all in hexadecimal; "N" and a decimal number;
 * "null". An error is "E" and its message.
 */
public final class SqlDatabase {
    public static void main(String[] args) throws Exception {
        try (DataInputStream in = new DataInputStream(new java.io.BufferedInputStream(Files.newInputStream(Path.of(args[0]))));
                PrintWriter out = new PrintWriter(Files.newBufferedWriter(Path.of(args[1]), StandardCharsets.UTF_8));
                Connection connection = DriverManager.getConnection("jdbc:h2:mem:;MODE=MSSQLServer");
                Statement statement = connection.createStatement()) {
            for (String sql = read(in); sql != null; sql = read(in)) {
                out.println(answer(statement, sql));
            }
        }
    }

    private static String read(DataInputStream in) throws IOException {
        int length;
        try {
            length = in.readInt();
        } catch (EOFException end) {
            return null;
        }
        char[] units = new char[length];
        for (int i = 0; i < length; i++) {
            units[i] = in.readChar();
        }
        return new String(units);
    }

    private static String answer(Statement statement, String sql) {
        StringBuilder line = new StringBuilder();
        try {
            if (statement.execute(sql)) {
                ResultSet rows = statement.getResultSet();
                while (rows.next()) {
                    for (int i = 1; i <= rows.getMetaData().getColumnCount(); i++) {
                        line.append(line.length() == 0 ? "" : " ").append(word(rows, i));
                    }
                }
            }
            return line.toString();
        } catch (SQLException e) {
            return "E " + e.getMessage().replaceAll("\\s+", " ");
        }
    }

    private static String word(ResultSet rows, int column) throws SQLException {
        if (rows.getObject(column) == null) {
            return "null";
        }
        switch (rows.getMetaData().getColumnType(column)) {
        case Types.VARCHAR:
        case Types.NVARCHAR:
            return rows.getString(column).chars().mapToObj(c -> String.format("%04X", c))
                    .collect(Collectors.joining("", "T", ""));
        case Types.BINARY:
        case Types.VARBINARY:
            StringBuilder bytes = new StringBuilder("B");
            for (byte b : rows.getBytes(column)) {
                bytes.append(String.format("%02X", b & 0xFF));
            }
            return bytes.toString();
        case Types.DOUBLE:
            return String.format("D%016X", Double.doubleToRawLongBits(rows.getDouble(column)));
        default:
            return "N" + rows.getBigDecimal(column).toPlainString();
        }
    }
}
