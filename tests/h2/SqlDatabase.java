import java.io.PrintWriter;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.sql.Connection;
import java.sql.DriverManager;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.sql.Statement;
import java.util.stream.Collectors;

/**
 * Executes statements on an empty database that speaks the dialect of SQL Server.
 *
 * Arguments: a file of statements and one for the answers, a line each. A statement is its units in hexadecimal. Its
 * answer is a word for each value of each row: "T" and the units of a text, "B" and bytes, "D" and the bits of a
 * double, all in hexadecimal; "N" and a decimal number; "null". An error is "E" and its message.
 */
public final class SqlDatabase {
    public static void main(String[] args) throws Exception {
        try (PrintWriter out = new PrintWriter(Files.newBufferedWriter(Path.of(args[1]), StandardCharsets.UTF_8));
                Connection connection = DriverManager.getConnection("jdbc:h2:mem:;MODE=MSSQLServer");
                Statement statement = connection.createStatement()) {
            for (String line : Files.readAllLines(Path.of(args[0]))) {
                StringBuilder sql = new StringBuilder();
                for (int i = 0; i < line.length(); i += 4) {
                    sql.append((char) Integer.parseInt(line, i, i + 4, 16));
                }
                out.println(answer(statement, sql.toString()));
            }
        }
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
        Object value = rows.getObject(column);
        if (value instanceof String) {
            return ((String) value).chars().mapToObj(c -> String.format("%04X", c))
                    .collect(Collectors.joining("", "T", ""));
        }
        if (value instanceof byte[]) {
            StringBuilder bytes = new StringBuilder("B");
            for (byte b : (byte[]) value) {
                bytes.append(String.format("%02X", b & 0xFF));
            }
            return bytes.toString();
        }
        if (value instanceof Double) {
            return String.format("D%016X", Double.doubleToRawLongBits((Double) value));
        }
        return value == null ? "null" : "N" + rows.getBigDecimal(column).toPlainString();
    }
}
