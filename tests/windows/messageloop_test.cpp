#include "orvcomtypes/syncutil.h"
#include "orvcomtypes/threadname.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <string>
#include <thread>
#include <vector>

namespace
{

constexpr UINT kMessage = WM_APP + 1;
constexpr UINT kSendMessage = WM_APP + 2; // its WPARAM is an event, which is signalled
std::vector<LPARAM> g_received;

LRESULT CALLBACK WindowProc(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam)
{
    if (nMessage != kMessage && nMessage != kSendMessage)
        return DefWindowProcW(hWnd, nMessage, wParam, lParam);
    g_received.push_back(lParam);
    if (nMessage == kSendMessage)
        SetEvent(reinterpret_cast<HANDLE>(wParam));
    return 0;
}

/// A test with a message-only window of its thread.
class MessageLoop : public testing::Test
{
protected:
    MessageLoop()
    {
        WNDCLASSW windowClass = {};
        windowClass.lpfnWndProc = WindowProc;
        windowClass.lpszClassName = ORVTEXT("OrvComTypes test");
        RegisterClassW(&windowClass);
        m_hWnd = CreateWindowExW(0, windowClass.lpszClassName, nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                 nullptr, nullptr);
        g_received.clear();
    }
    ~MessageLoop() override
    {
        DestroyWindow(m_hWnd);
        CloseHandle(m_hEvent);
        MSG msg;
        while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE))
        {
        }
    }

    HWND m_hWnd;
    HANDLE m_hEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
};

TEST_F(MessageLoop, PostsToWindowsThatExist)
{
    EXPECT_EQ(0, ThPostMessage(m_hWnd, kMessage, 1, 2));
    EXPECT_EQ(5, DoEvents(5));
    EXPECT_EQ(std::vector<LPARAM>{2}, g_received);
    DestroyWindow(m_hWnd);
    EXPECT_EQ(1, ThPostMessage(m_hWnd, kMessage, 0, 0));
}

TEST_F(MessageLoop, SendsAcrossThreads)
{
    HRESULT hr = E_FAIL;
    std::thread sender([&] {
        hr = ThSendMessage(m_hWnd, kSendMessage, 9);
        SetEvent(m_hEvent);
    });
    EXPECT_EQ(0, WaitOneEventWithMessageLoop(m_hEvent, INFINITE));
    sender.join();
    EXPECT_EQ(S_OK, hr);
    EXPECT_EQ(std::vector<LPARAM>{9}, g_received);
}

TEST_F(MessageLoop, DispatchesWhileItWaits)
{
    std::thread other([&] {
        for (LPARAM i = 0; i < 100; ++i)
            ThPostMessage(m_hWnd, kMessage, 0, i);
        ThPostMessage(m_hWnd, kSendMessage, reinterpret_cast<WPARAM>(m_hEvent), 100);
    });
    EXPECT_EQ(0, WaitOneEventWithMessageLoop(m_hEvent, INFINITE));
    other.join();
    EXPECT_EQ(101u, g_received.size());
    ThPostMessage(m_hWnd, kMessage, 0, 1);
    EXPECT_EQ(0, WaitOneEventWithMessageLoop(m_hEvent, INFINITE));
    EXPECT_EQ(101u, g_received.size()) << "a signalled handle comes before messages";
}

TEST_F(MessageLoop, DispatchesWhatCameBeforeAQuit)
{
    ThPostMessage(m_hWnd, kMessage, 0, 1);
    PostQuitMessage(3);
    EXPECT_EQ(1, WaitOneEventWithMessageLoop(m_hEvent, INFINITE));
    EXPECT_EQ(std::vector<LPARAM>{1}, g_received);
}

TEST_F(MessageLoop, WaitsForItsMessage)
{
    ThPostMessage(m_hWnd, kMessage, 0, 1);
    std::thread other([&] { ThPostMessage(m_hWnd, kSendMessage, 5, 6); });
    WPARAM wParam = 0;
    LPARAM lParam = 0;
    EXPECT_EQ(1, WaitForAsyncProc(kSendMessage, &wParam, &lParam));
    other.join();
    EXPECT_EQ(5u, wParam);
    EXPECT_EQ(6, lParam);
    EXPECT_EQ(std::vector<LPARAM>{1}, g_received) << "others are dispatched, the awaited one is not";
}

// ---- What a debugger sees of a name ----

std::vector<ULONG_PTR> g_arguments;
std::string g_sNamed;

LONG CALLBACK ObserveNaming(EXCEPTION_POINTERS* pException)
{
    const EXCEPTION_RECORD& record = *pException->ExceptionRecord;
    if (record.ExceptionCode == 0x406D1388)
    {
        g_arguments.insert(g_arguments.end(), record.ExceptionInformation,
                           record.ExceptionInformation + record.NumberParameters);
        g_sNamed += reinterpret_cast<const char*>(record.ExceptionInformation[1]);
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

TEST(NamingException, CarriesNameAndIdToTheDebugger)
{
    void* const pObserver = AddVectoredExceptionHandler(1, ObserveNaming);
    SetThreadName(4711, "debugged");
    RemoveVectoredExceptionHandler(pObserver);
    ASSERT_EQ(4u, g_arguments.size()) << "told once";
    EXPECT_EQ(0x1000u, g_arguments[0]);
    EXPECT_EQ("debugged", g_sNamed);
    EXPECT_EQ(4711u, g_arguments[2]);
    EXPECT_EQ(0u, g_arguments[3]);
}

} // namespace
