// What the command line asks for.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace ornconvert {

struct Format;
class Picture;

// One change of a picture, with its arguments bound. Throws a Failure.
using Operation = std::function<void(Picture&)>;

// An option of one or more file formats. It takes effect once a file's format is known.
struct FormatOption {
    std::wstring name, argument;
};

struct Job {
    enum class Task { convert, info, help, version };

    Task task = Task::convert;
    std::vector<std::wstring> files;    // as given; the last one is the output when converting
    std::vector<Operation> operations;  // in the order given
    std::vector<FormatOption> formatOptions;
    const Format* outputFormat = nullptr;  // of --to; null: by the output's extension
};

}  // namespace ornconvert
