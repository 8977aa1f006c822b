// The command line: options come in tables, one per source file that contributes some.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "job.h"

namespace ornconvert {

struct Option {
    const wchar_t* name;      // L"--area"
    const wchar_t* argument;  // what the help calls it, null if there is none. In brackets, L"[SIZE]", it may
                              // be left out, and can then only be given as --name=VALUE
    const wchar_t* help;      // a line, or several separated by \n

    // Notes what the option asks for; throws a UsageError for an argument that is no good.
    void (*apply)(Job& job, const std::wstring& argument);
};

struct OptionGroup {
    const wchar_t* title;
    std::span<const Option> options;
};

// Sorts the program's arguments into a job. Throws a UsageError.
Job parseCommandLine(std::span<const wchar_t* const> arguments);

std::wstring helpText();

// Applies those of the job's format options that loading, or saving, this format knows. One that neither this
// format nor the other direction knows is a Failure: nothing that the user asks for is silently ignored.
void applyLoadOptions(Job& job, const Format& format);
void applySaveOptions(Job& job, const Format& format);

// A number from least to most, else a UsageError.
int parseNumber(const std::wstring& argument, long least, long most);

// "1,-2,3" as numbers; a number of them between least and most, else a UsageError that shows the form.
std::vector<long> parseNumbers(const std::wstring& argument, std::size_t least, std::size_t most,
                               const wchar_t* form);

}  // namespace ornconvert
