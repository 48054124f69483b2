// Arrays, maps and sets: customers by their number, the orders of each, and the days on which they came.
#include <orvcomtypes/memarray.h>
#include <orvcomtypes/midintarray.h>
#include <orvcomtypes/octalloc.h>
#include <orvcomtypes/orvhashmap.h>
#include <orvcomtypes/simplebyteset.h>

#include <cstdio>
#include <memory>

namespace
{

struct CCustomer
{
    unsigned m_nId = 0;
    COrvStr m_sName;
    CMIDINTArray m_orders;
};

/// A map of pointers has the keys in what they point to.
struct CById
{
    static unsigned GetHash(unsigned nId) noexcept { return nId; }
    static unsigned GetKey(const CCustomer* pCustomer) noexcept { return pCustomer->m_nId; }
    static bool IsEqual(const CCustomer* pCustomer, unsigned nId, void*) noexcept
    {
        return pCustomer->m_nId == nId;
    }
};

void Work()
{
    CFixMarray<CCustomer, 8, 4> customers; // up to four stand inside the array itself
    for (const WCHAR* sName : {ORVTEXT("Zoe"), ORVTEXT("Adam"), ORVTEXT("Eve")})
    {
        CCustomer& customer = customers.AddR();
        customer.m_nId = 100 * customers.GetSize();
        customer.m_sName = sName;
    }
    OCT::CPrtvHashMap<CCustomer*, unsigned, CById> byId; // from here on the array keeps its size
    for (CCustomer& customer : customers)
        byId.SetItem(&customer);

    CSimpleByteSet weekdays;
    CMIDINTSet known;
    const unsigned orders[][3] = {
        {7, 200, 1}, {9, 100, 3}, {8, 200, 1}, {7, 200, 1}}; // order, customer, weekday
    for (const auto& [nOrder, nCustomer, nWeekday] : orders)
    {
        CCustomer* const pCustomer = byId.GetItemByKey(nCustomer, nullptr);
        if (pCustomer == nullptr || known.Add(nOrder) != 0)
            continue; // nobody's, or told twice
        pCustomer->m_orders.AddId(nOrder);
        weekdays.AddItem(nWeekday);
    }

    customers.Sort([](const CCustomer& a, const CCustomer& b) { return a.m_sName < b.m_sName; });
    for (CCustomer& customer : customers)
    {
        customer.m_orders.SortIds();
        const COrvStr sOrders = customer.m_orders.Join(ORVTEXT(','), nullptr);
        std::printf("%s: %s\n", static_cast<const char*>(CToUTF8(customer.m_sName)),
                    sOrders.IsEmpty() ? "none" : static_cast<const char*>(CToUTF8(sOrders)));
    }
    std::puts(CToUTF8(weekdays.JoinInterval(1, 7, ORVTEXT(','))));
}

} // namespace

int main()
{
    Work();
    UninitOrvComTypes();
}

// Prints:
// Adam: 7,8
// Eve: none
// Zoe: 9
// 1,3
