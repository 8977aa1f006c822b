// ornconvert: converts picture files. An example of how an application uses the library.
#include <new>

#include "console.h"
#include "convert.h"
#include "interrupt.h"
#include "messages.h"
#include "options.h"
#include "orn32.h"

// Windows leaves it to the program to expand names like *.bmp. The runtime must not: it would do so in the
// values of options as well.
extern "C" {
int _dowildcard = 0;
}

namespace ornconvert {
namespace {

enum ExitStatus { allWell = 0, somethingFailed = 1, badCommandLine = 2 };

// The converter's own version, and that of the DLL it found. Build digits stand one in 4 bits each.
std::wstring versionText() {
    WORD words[2];
    const WORD version = Orrinversionex(words);
    std::wstring build;
    for (int shift = 12; shift >= 0; shift -= 4) build += toText(words[1] >> shift & 15);
    return text(L"ornconvert " TEXT(ORN32_VERSION) L" with orn32 ", version >> 8, L".", version & 0xFF,
                L" build ", build);
}

bool run(Job& job) {
    switch (job.task) {
        case Job::Task::help:
            print(helpText());
            return true;
        case Job::Task::version:
            print(versionText());
            return true;
        case Job::Task::info:
            return printInfo(job);
        case Job::Task::convert:
            break;
    }
    return convertFiles(job);
}

int runCommandLine(std::span<const wchar_t* const> arguments) {
    watchForInterrupt();
    try {
        Job job = parseCommandLine(arguments);
        return run(job) ? allWell : somethingFailed;
    } catch (const UsageError& error) {
        complain(error.words + L"\nornconvert --help tells how it is used.");
        return badCommandLine;
    } catch (const Interrupted&) {
        complain(L"interrupted");
        return somethingFailed;
    } catch (const std::bad_alloc&) {
        complain(L"there is not enough memory");
        return somethingFailed;
    }
}

}  // namespace
}  // namespace ornconvert

int wmain(int count, wchar_t** words) {
    return ornconvert::runCommandLine({words + 1, static_cast<std::size_t>(count > 0 ? count - 1 : 0)});
}
