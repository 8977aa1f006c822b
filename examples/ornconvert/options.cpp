// Parsing the command line and printing the help, both from the tables of options.
#include "options.h"

#include <algorithm>
#include <cerrno>
#include <cwchar>

#include "files.h"
#include "formats.h"
#include "messages.h"
#include "operations.h"

namespace ornconvert {
namespace {

using Task = Job::Task;

constexpr Option programOptions[] = {
    {L"--info", nullptr, L"print what is known about each FILE instead of converting",
     [](Job& job, const std::wstring&) { job.task = Task::info; }},
    {L"--to", L"FORMAT", L"the output's format, where its extension does not say it",
     [](Job& job, const std::wstring& name) {
         job.outputFormat = formatByName(name);
         if (!job.outputFormat)
             throw UsageError{text(L"'", name, L"' is none of the formats (", formatNames(), L")")};
     }},
    {L"--help", nullptr, L"print this", [](Job& job, const std::wstring&) { job.task = Task::help; }},
    {L"--version", nullptr, L"print the versions of the program and of the library",
     [](Job& job, const std::wstring&) { job.task = Task::version; }},
};

const Option* find(std::span<const Option> options, const std::wstring& name) {
    const auto found = std::ranges::find_if(options, [&](const Option& o) { return name == o.name; });
    return found == options.end() ? nullptr : &*found;
}

const Option* findProgramOption(const std::wstring& name) {
    if (const Option* option = find(programOptions, name)) return option;
    for (const OptionGroup* group : operationGroups())
        if (const Option* option = find(group->options, name)) return option;
    return nullptr;
}

// Formats may share a name, such as --interlace. They then agree on whether it takes an argument.
const Option* findFormatOption(const std::wstring& name) {
    for (const Format* format : formats())
        for (const auto options : {format->loadOptions, format->saveOptions})
            if (const Option* option = find(options, name)) return option;
    return nullptr;
}

// Complaints about an argument begin with the option's name.
void apply(const Option& option, Job& job, const std::wstring& argument) {
    try {
        option.apply(job, argument);
    } catch (const UsageError& error) {
        throw UsageError{text(option.name, L": ", error.words)};
    }
}

bool needsArgument(const Option& option) {
    return option.argument && option.argument[0] != L'[';
}

class Parser {
 public:
    explicit Parser(std::span<const wchar_t* const> arguments) : arguments_(arguments) {}

    Job parse() {
        while (at_ < arguments_.size()) {
            const std::wstring word = arguments_[at_++];
            if (word == L"--") {
                job_.files.insert(job_.files.end(), arguments_.begin() + static_cast<int>(at_),
                                  arguments_.end());
                break;
            }
            if (word.size() > 1 && word[0] == L'-')
                parseOption(word);
            else
                addFiles(word);
        }
        return std::move(job_);
    }

 private:
    void addFiles(const std::wstring& name) {
        if (name.empty()) throw UsageError{L"the name of a file is empty"};
        for (const std::wstring& file : filesNamed(name)) job_.files.push_back(file);
    }

    void parseOption(const std::wstring& word) {
        const std::size_t equals = word.find(L'=');
        const std::wstring name = word.substr(0, equals);
        const Option* const own = findProgramOption(name);
        const Option* const option = own ? own : findFormatOption(name);
        if (!option)
            throw UsageError{text(L"there is no option ", name, L" (a file of this name goes behind --)")};

        std::wstring argument;
        if (equals != std::wstring::npos) {
            if (!option->argument) throw UsageError{name + L" takes no value"};
            argument = word.substr(equals + 1);
        } else if (needsArgument(*option)) {
            if (at_ == arguments_.size()) throw UsageError{text(name, L" needs a value: ", option->argument)};
            argument = arguments_[at_++];
        }
        if (own)
            apply(*own, job_, argument);
        else
            job_.formatOptions.push_back({name, argument});
    }

    std::span<const wchar_t* const> arguments_;
    std::size_t at_ = 0;
    Job job_;
};

// ---- Help -----------------------------------------------------------------------------------------------

constexpr std::size_t helpColumn = 26;

std::wstring optionHelp(const Option& option) {
    std::wstring left = text(L"  ", option.name);
    if (needsArgument(option))
        left += text(L" ", option.argument);
    else if (option.argument)
        left += text(L"[=", option.argument + 1);
    const std::wstring indent = L"\n" + std::wstring(helpColumn, L' ');
    std::wstring lines =
        left.size() + 2 > helpColumn ? left + indent : left + std::wstring(helpColumn - left.size(), L' ');
    for (const wchar_t* c = option.help; *c; c++) lines += *c == L'\n' ? indent : std::wstring(1, *c);
    return lines + L"\n";
}

std::wstring groupHelp(const std::wstring& title, std::span<const Option> options) {
    if (options.empty()) return L"";
    std::wstring lines = L"\n" + title + L":\n";
    for (const Option& option : options) lines += optionHelp(option);
    return lines;
}

// ---- Format options -------------------------------------------------------------------------------------

using Options = std::span<const Option>;

void applyFormatOptions(Job& job, const Format& format, Options Format::*wanted, Options Format::*other,
                        const wchar_t* action) {
    for (const FormatOption& given : job.formatOptions) {
        if (const Option* option = find(format.*wanted, given.name))
            apply(*option, job, given.argument);
        else if (std::ranges::none_of(formats(),
                                      [&](const Format* f) { return find(f->*other, given.name); }))
            throw Failure{text(given.name, L" has no meaning when a ", format.name, L" file is ", action)};
    }
}

}  // namespace

Job parseCommandLine(std::span<const wchar_t* const> arguments) {
    return Parser(arguments).parse();
}

std::wstring helpText() {
    std::wstring help =
        L"ornconvert [OPTION]... IN... OUT   converts pictures\n"
        L"ornconvert --info FILE...          prints what is known about them\n"
        L"\n"
        L"A picture's content says what format it has, the extension of OUT what format to write. OUT is a\n"
        L"folder if it is one, ends in a slash, or if there are several IN that do not go into one file; it "
        L"is\n"
        L"created where it is missing, and pictures keep their names and, without --to, their formats "
        L"there.\n"
        L"Changes of the picture are made in the order in which their options are given.\n";
    help += groupHelp(L"Options", programOptions);
    for (const OptionGroup* group : operationGroups()) help += groupHelp(group->title, group->options);
    for (const Format* format : formats()) {
        help += groupHelp(text(L"Reading ", format->name), format->loadOptions);
        help += groupHelp(text(L"Writing ", format->name), format->saveOptions);
    }
    help +=
        text(L"\nFormats: ", formatNames(), L". Exit status: 0 if all went well, 1 if something failed,\n",
             L"2 if the command line makes no sense.");
    return help;
}

void applyLoadOptions(Job& job, const Format& format) {
    applyFormatOptions(job, format, &Format::loadOptions, &Format::saveOptions, L"read");
}

void applySaveOptions(Job& job, const Format& format) {
    applyFormatOptions(job, format, &Format::saveOptions, &Format::loadOptions, L"written");
}

int parseNumber(const std::wstring& argument, long least, long most) {
    wchar_t* end;
    errno = 0;
    const long number = std::wcstol(argument.c_str(), &end, 10);
    if (argument.empty() || *end || errno == ERANGE || number < least || number > most)
        throw UsageError{text(L"'", argument, L"' is not a number from ", least, L" to ", most)};
    return static_cast<int>(number);
}

std::vector<long> parseNumbers(const std::wstring& argument, std::size_t least, std::size_t most,
                               const wchar_t* form) {
    std::vector<long> numbers;
    const wchar_t* at = argument.c_str();
    for (;;) {
        wchar_t* end;
        errno = 0;
        const long number = std::wcstol(at, &end, 10);
        if (end == at || errno == ERANGE) break;
        numbers.push_back(number);
        if (!*end && numbers.size() >= least && numbers.size() <= most) return numbers;
        if (*end != L',') break;
        at = end + 1;
    }
    throw UsageError{text(L"'", argument, L"' is not of the form ", form)};
}

}  // namespace ornconvert
