#include "foundation/TraceLogger.h"

#include "foundation/Debugger.h"

#include <cstdio>
#include <string>

namespace
{
STraceLogger* gLogger = nullptr;

constexpr const char* kSessionEnd = "\n"
                                    "========================================\n"
                                    "Session Ended\n"
                                    "========================================\n";
} // namespace

STraceLogger::STraceLogger(std::filesystem::path file, bool enabled)
    : fFile(std::move(file)), fEnabled(enabled), fInstalled(gLogger == nullptr),
      fPrevious(GetTraceHook())
{
    BF_ASSERT(fInstalled);
    if (!fInstalled)
        return;
    gLogger = this;
    SetTraceHook(&STraceLogger::TraceToFile);
}

STraceLogger::~STraceLogger()
{
    if (!fInstalled)
        return;
    if (fEnabled)
        Append(kSessionEnd);
    SetTraceHook(fPrevious);
    gLogger = nullptr;
}

void STraceLogger::TraceToFile(const char* file, i32 line, const char* text)
{
    const STraceLogger* logger = gLogger;
    if (logger == nullptr)
        return;
    if (logger->fEnabled)
    {
        const i32 level = GetIndentLevel();
        std::string indented(level > 0 ? std::size_t(level) * 4 : 0, ' ');
        indented.append(text).append("\n");
        logger->Append(indented.c_str());
    }
    if (logger->fPrevious != nullptr)
        logger->fPrevious(file, line, text);
}

// Silent on failure, as every diagnostic.
void STraceLogger::Append(const char* text) const
{
    if (std::FILE* out = std::fopen(fFile.c_str(), "a"))
    {
        std::fputs(text, out);
        std::fclose(out);
    }
}
