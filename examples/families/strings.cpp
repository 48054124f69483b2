// Strings: reads a table that people have typed, and writes a letter from a template.
#include <orvcomtypes/octalloc.h>
#include <orvcomtypes/orvlongstrbase.h>
#include <orvcomtypes/orvstr.h>

#include <cstdio>

namespace
{

struct CCustomer
{
    COrvStr m_sName;
    COrvStr m_sTitle;
    int m_nOrders = 0;
};

/// Gives the tags of the template their values.
void FillTag(const WCHAR* sName, void* pData, COrvStr& sValue)
{
    const CCustomer& customer = *static_cast<const CCustomer*>(pData);
    const COrvStr sTag(sName, false); // looks at the name, copies nothing
    if (sTag == ORVTEXT("name"))
        sValue = customer.m_sName;
    else if (sTag == ORVTEXT("title"))
        sValue = customer.m_sTitle;
    else if (sTag == ORVTEXT("orders"))
        sValue.AppendNum(customer.m_nOrders);
}

void WriteLetter(COrvTabbedWStr& reader)
{
    CCustomer customer;
    WCHAR sField[40];
    customer.m_sName = reader.GetNextStr(sField, 40);
    customer.m_sTitle = reader.GetNextStr(sField, 40);
    customer.m_nOrders = reader.GetNextInt();
    customer.m_sName.CapitalizeFirstChar();

    COrvStr sLetter;
    sLetter.FormatStr(ORVTEXT("Dear<+title><&title><-title><&name>, thank you for <orders> orders."), FillTag,
                      &customer);
    std::puts(CToUTF8(sLetter));
}

void Work()
{
    COrvTabbedWStr reader;
    reader.Init(ORVTEXT("smith ; Dr. ; 12\n \"o'brien; sons\";;3\n"), ORVTEXT(';'));
    WriteLetter(reader);
    WriteLetter(reader);

    COrvLongStr sLine(200); // room for what comes, so that nothing is copied on the way
    sLine + ORVTEXT("sum ") + 15 + ORVTEXT(", mean ") + 7.5 + ORVTEXT(", check ") - 0xBEEFu;
    std::puts(CToUTF8(sLine));
}

} // namespace

int main()
{
    Work();
    UninitOrvComTypes();
}

// Prints:
// Dear Dr. Smith, thank you for 12 orders.
// Dear O'brien; sons, thank you for 3 orders.
// sum 15, mean 7.5, check 0000BEEF
