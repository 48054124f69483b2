// Our texts of OLE DB values beside those of the system's conversion object.
#include "orvcomtypes/oledbconvert.h"
#include "support/random.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <objbase.h>

#include <msdadc.h>

namespace
{

constexpr CLSID kConversionLibraryClass = {
    0xc8b522d1, 0x5cf3, 0x11ce, {0xad, 0xe5, 0x00, 0xaa, 0x00, 0x44, 0x77, 0x3d}};
constexpr IID kDataConvertInterface = {
    0x0c733a8d, 0x2a1c, 0x11ce, {0xad, 0xe5, 0x00, 0xaa, 0x00, 0x44, 0x77, 0x3d}};

class SystemConversion : public testing::Test
{
protected:
    void SetUp() override
    {
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        void* p = nullptr;
        if (SUCCEEDED(CoCreateInstance(kConversionLibraryClass, nullptr, CLSCTX_INPROC_SERVER,
                                       kDataConvertInterface, &p)))
            m_pConvert = static_cast<IDataConvert*>(p);
        else
            GTEST_SKIP() << "this system has no conversion object";
    }
    void TearDown() override
    {
        if (m_pConvert != nullptr)
            m_pConvert->Release();
        CoUninitialize();
    }

    Text SystemText(DBTYPE wType, void* pData)
    {
        WCHAR sText[100] = {};
        DBLENGTH cb = 0;
        DBSTATUS nStatus = 0;
        const HRESULT hr =
            m_pConvert->DataConvert(wType, DBTYPE_WSTR, sizeof(VARIANT), &cb, pData, sText, sizeof sText,
                                    DBSTATUS_S_OK, &nStatus, 0, 0, DBDATACONVERT_DEFAULT);
        EXPECT_TRUE(SUCCEEDED(hr)) << std::hex << hr;
        return sText;
    }

    template <class Value>
    void Compare(DBTYPE wType, Value value)
    {
        WCHAR sText[COLEDBConvert::kMaxNumberText];
        unsigned nLen = 0;
        EXPECT_EQ(DBSTATUS_S_OK,
                  COLEDBConvert::ConvertToStr(wType, &value, sText, COLEDBConvert::kMaxNumberText, nLen));
        EXPECT_EQ(SystemText(wType, &value), Text(sText, nLen)) << "type " << wType;
    }

    IDataConvert* m_pConvert = nullptr;
};

} // namespace

TEST_F(SystemConversion, GivesTheSameTexts)
{
    CTestRandom random;
    for (int i = 0; i < 200; ++i)
    {
        const std::uint64_t n = (std::uint64_t{random()} << 32 | random()) >> random.UpTo(63);
        Compare(DBTYPE_I2, static_cast<SHORT>(n));
        Compare(DBTYPE_UI1, static_cast<BYTE>(n));
        Compare(DBTYPE_I4, static_cast<LONG>(n));
        Compare(DBTYPE_UI4, static_cast<ULONG>(n));
        Compare(DBTYPE_I8, static_cast<LONGLONG>(n));
        Compare(DBTYPE_UI8, n);
        Compare(DBTYPE_CY, n);
        DECIMAL dec = {};
        dec.Lo64 = n;
        dec.Hi32 = random();
        dec.scale = static_cast<BYTE>(random.UpTo(28));
        dec.sign = static_cast<BYTE>(random.UpTo(1) * DECIMAL_NEG);
        Compare(DBTYPE_DECIMAL, dec);
    }
    // No ties at the last digit, which Wine rounds up.
    for (const double d : {0.0, 1.0 / 3, -2.0 / 3, 1e-5, 1e-4, 123456.7, 1e15, 1e20, 1.7e38, 4.0 / 7e30})
    {
        Compare(DBTYPE_R4, static_cast<float>(d));
        Compare(DBTYPE_R8, d);
    }
    Compare(DBTYPE_BOOL, VARIANT_TRUE);
    Compare(DBTYPE_BOOL, VARIANT_FALSE);
    Compare(DBTYPE_GUID, kConversionLibraryClass);
    Compare(DBTYPE_DBTIMESTAMP, DBTIMESTAMP{2024, 5, 6, 7, 8, 9, 0});
}
