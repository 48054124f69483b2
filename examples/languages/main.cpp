// Shows messages in the languages that the command line names, else in the one that the user prefers.
#include <orvcomtypes/orvcomtypes.h>

#include <cstdio>

namespace
{

constexpr unsigned kOrderHasLines = 30000;

void Print(const COrvStr& sText)
{
    char sBytes[1000];
    UnicodeToUTF8(sText, sBytes, sizeof(sBytes));
    std::puts(sBytes);
}

void ShowMessages()
{
    CLQMessage message(kOrderHasLines);
    message.AddParam(ORVTEXT("PX-7"));
    message.AddParam(12);
    Print(message.Format(nullptr));
    // What the library itself has to say is in the same language.
    Print(CLQMessage(GetErrorMessResId(lqeMemory, 0)).Format(nullptr));
}

} // namespace

int main(int argc, char** argv)
{
    CResourceHandler::SetOwner(nullptr, ORVTEXT("order"), 1, 4);
    if (argc < 2)
        ShowMessages();
    for (int i = 1; i < argc; ++i)
    {
        const CThreadLanguage language{COrvStr(argv[i])};
        ShowMessages();
    }
    UninitOrvComTypes();
}

// Prints:
// Order PX-7 has 12 lines.
// There is not enough memory for this operation.
// A(z) PX-7 rendelés 12 tételből áll.
// Nincs elég memória ehhez a művelethez.
