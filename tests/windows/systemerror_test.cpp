// Error objects that the system makes.
#include "orvcomtypes/lqexcept.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <oleauto.h>

TEST(SystemError, DescribesAFailure)
{
    const Text sDescription = ORVTEXT("made by the system");
    ICreateErrorInfo* pCreate = nullptr;
    IErrorInfo* pInfo = nullptr;
    ASSERT_EQ(S_OK, CreateErrorInfo(&pCreate));
    ASSERT_EQ(S_OK, pCreate->SetDescription(const_cast<WCHAR*>(sDescription.c_str())));
    ASSERT_EQ(S_OK, pCreate->QueryInterface(__uuidof(IErrorInfo), reinterpret_cast<void**>(&pInfo)));
    ASSERT_EQ(S_OK, SetErrorInfo(0, pInfo));
    for (const bool bRestore : {true, false})
        EXPECT_EQ(sDescription, TextOf(GetComErrorString(E_FAIL, bRestore).m_sMessage));
    EXPECT_NE(sDescription, TextOf(GetComErrorString(E_FAIL, false).m_sMessage));
    EXPECT_EQ(1u, (pInfo->AddRef(), pCreate->Release(), pInfo->Release())) << "no reference was kept";
    pInfo->Release();
}
