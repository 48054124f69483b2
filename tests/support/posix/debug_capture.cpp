#include "support/debug_capture.h"

#include "support/temp_dir.h"

namespace
{

constexpr const char* kVariable = "ORVCOMTYPES_DEBUG_OUTPUT";

std::filesystem::path OutputFile()
{
    return TestRoot() / "debugger output";
}

} // namespace

CDebugCapture::CDebugCapture()
{
    SetTestVariable(kVariable, OutputFile().string().c_str());
}

CDebugCapture::~CDebugCapture()
{
    SetTestVariable(kVariable, nullptr);
    Take();
}

std::string CDebugCapture::Take()
{
    std::string sText = ReadBytes(OutputFile());
    std::filesystem::remove(OutputFile());
    return sText;
}
