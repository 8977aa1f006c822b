// The file formats: one source file each, listed in formats.cpp.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "options.h"
#include "picture.h"

namespace ornconvert {

// What --info prints about a file: "label  value" lines. A value may come from the file: its control
// characters do not reach the terminal.
class InfoList {
 public:
    void add(const std::wstring& label, const std::wstring& value);
    void heading(const std::wstring& line);  // e.g. before the facts of a frame
    std::wstring text() const;

 private:
    struct Row {
        std::wstring label, value;
    };
    std::vector<Row> rows_;
};

// Which picture of the output file is being saved.
struct Place {
    unsigned index = 0;    // 0 creates the file, others follow in order
    bool several = false;  // whether the file is to hold a sequence
};

// The first bytes of a file.
using FileStart = std::span<const unsigned char>;

struct Format {
    const wchar_t* name;                         // L"BMP"
    std::span<const wchar_t* const> extensions;  // L"bmp", the preferred one first
    std::span<const unsigned> depths;            // bits per pixel that can be saved, best first
    bool holdsSeveral;                           // whether a file can hold a sequence of pictures

    bool (*sniff)(FileStart start);
    void (*info)(const std::wstring& file, InfoList& list);
    std::vector<Picture> (*load)(
        const std::wstring& file);  // one picture, or the several that were asked for
    void (*save)(const std::wstring& file, Picture& picture, const Place& place);

    std::span<const Option> loadOptions = {};
    std::span<const Option> saveOptions = {};
};

std::span<const Format* const> formats();
const Format* formatByName(const std::wstring& name);       // "bmp", any case; null if there is none
const Format* formatByExtension(const std::wstring& file);  // null if there is none
const Format& formatByContent(const std::wstring& file);    // throws a Failure
std::wstring formatNames();                                 // "BMP, GIF"

}  // namespace ornconvert
