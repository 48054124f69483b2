// Statements: an order and its lines become a batch, whatever the texts in it are.
#include <orvcomtypes/octalloc.h>
#include <orvcomtypes/orvdecimal.h>
#include <orvcomtypes/orvsqlstr.h>
#include <orvcomtypes/orvtime.h>

#include <cstdio>
#include <span>

namespace
{

struct CLine
{
    const WCHAR* m_sArticle;
    const WCHAR* m_sPrice;
    int m_nPieces;
};

/// False when a price is no number; then there is no statement.
bool InsertLines(COrvSQLStr& sql, unsigned nOrder, std::span<const CLine> lines)
{
    bool bFirst = true;
    sql& ORVTEXT("INSERT INTO Lines VALUES ");
    for (const CLine& line : lines)
    {
        COrvDecimal price;
        if (!price.SetText(line.m_sPrice))
            return false;
        sql.AddCM(bFirst) & ORVTEXT("(") & nOrder& ORVTEXT(",") & NVARCHAR{line.m_sArticle, 0, 40};
        sql& ORVTEXT(",") & price.Get() & ORVTEXT(",") & line.m_nPieces& ORVTEXT(")");
    }
    return true;
}

COrvDecimal Sum(std::span<const CLine> lines)
{
    COrvDecimal sum;
    for (const CLine& line : lines)
    {
        COrvDecimal price;
        if (price.SetText(line.m_sPrice))
            sum += price * line.m_nPieces;
    }
    return sum;
}

void Work()
{
    const CLine lines[] = {{ORVTEXT("Nut 5\""), ORVTEXT("0.05"), 200},
                           {ORVTEXT("'); DROP TABLE Lines --"), ORVTEXT("1e1"), 1}};
    COrvSQLStrArray batch;
    if (!InsertLines(batch.Last(), 7, lines))
        std::puts("a price is no number");
    batch.AddSQL();
    batch.Last() & ORVTEXT("UPDATE Orders SET Total=") & Sum(lines).Get();
    batch.Last() & ORVTEXT(", Sent=") & SQLORVTIME{COrvTime::FromYMD(2024, 5, 6, 7, 8, 9).GetOrvTime()};
    batch.Last() & ORVTEXT(" WHERE Id") & CSQLMIDINTArray(CMIDINTArray{7}, false);
    for (const COrvSQLStr& sql : batch)
        std::puts(CToUTF8(sql));
}

} // namespace

int main()
{
    Work();
    UninitOrvComTypes();
}

// Prints:
// INSERT INTO Lines VALUES (7,N'Nut 5"',0.05,200),(7,N'''); DROP TABLE Lines --',10,1)
// UPDATE Orders SET Total=20, Sent=1714979289 WHERE Id = 7
