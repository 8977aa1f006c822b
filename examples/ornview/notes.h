// What the file formats have to say about a file that was loaded, though not wholly.
#pragma once

#include <string>

namespace ornview {

void takeNotes();             // forgets the older ones
const std::wstring& notes();  // in one line, "" if there is nothing to say

// To standard error, for whoever started the program from a terminal.
void tell(const std::wstring& line);

}  // namespace ornview
