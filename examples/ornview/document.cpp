// Opening, stepping and saving.
#include "document.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <new>

#include "notes.h"
#include "ornconvert/console.h"
#include "ornconvert/depth.h"
#include "ornconvert/files.h"
#include "ornconvert/messages.h"

namespace ornview {

using namespace ornconvert;

namespace {

std::wstring nameOf(const std::wstring& file) {
    const NameParts parts = splitName(file);
    return parts.stem + parts.extension;
}

// Formats that can hold several pictures load all of them only when told to.
void askForAllFrames(const Format& format) {
    Job job;
    for (const Option& option : format.loadOptions)
        if (option.name == std::wstring(L"--all-frames")) option.apply(job, L"");
}

// The picture files of a folder, by their extensions, in the order of their names.
std::vector<std::wstring> picturesIn(const std::wstring& folder) {
    std::vector<std::wstring> names;
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW((folder + L"*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return names;
    do
        if (!(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) && formatByExtension(found.cFileName))
            names.push_back(found.cFileName);
    while (FindNextFileW(search, &found));
    FindClose(search);
    std::ranges::sort(names, [](const std::wstring& a, const std::wstring& b) {
        return CompareStringW(LOCALE_USER_DEFAULT, NORM_IGNORECASE, a.c_str(), -1, b.c_str(), -1) ==
               CSTR_LESS_THAN;
    });
    return names;
}

// With its folder, and with backslashes: dialogs take no others.
std::wstring fullName(const std::wstring& file) {
    std::wstring name(GetFullPathNameW(file.c_str(), 0, nullptr, nullptr), L'\0');
    name.resize(GetFullPathNameW(file.c_str(), static_cast<DWORD>(name.size()), name.data(), nullptr));
    return name.empty() ? file : name;
}

std::size_t stepped(std::size_t from, int by, std::size_t count) {
    const int n = static_cast<int>(count);
    return static_cast<std::size_t>(((static_cast<int>(from) + by) % n + n) % n);
}

}  // namespace

Picture copyOf(const Picture& picture) {
    const imgdes& from = *picture.image();
    Picture copy(from.header->biWidth, from.header->biHeight, from.header->biBitCount);
    imgdes& to = *copy.image();
    std::memcpy(to.bits, from.bits, std::size_t{from.rowbytes} * static_cast<UINT>(from.header->biHeight));
    if (picture.bits() <= 8) std::copy_n(from.palette, from.palcolors, to.palette);
    if (picture.bits() <= 8) to.palcolors = from.palcolors;
    to.imgkind = from.imgkind;
    updatebitmapcolortable(&to);
    to.header->biXPelsPerMeter = from.header->biXPelsPerMeter;
    to.header->biYPelsPerMeter = from.header->biYPelsPerMeter;
    copy.gif = picture.gif;
    return copy;
}

void Document::open(const std::wstring& file) {
    *this = Document();
    file_ = fullName(file);
    name_ = nameOf(file);
    takeNotes();
    try {
        loadFrames();
    } catch (const Failure& failure) {
        message_ = failure.words;
    } catch (const std::bad_alloc&) {
        message_ = L"there is not enough memory";
    }
    if (message_.empty()) return;
    message_ = text(name_, L" cannot be shown:\n", message_);
    screen_.reset();
    frames_.clear();
}

void Document::loadFrames() {
    format_ = &formatByContent(file_);
    askForAllFrames(*format_);
    frames_ = format_->load(file_);
    try {
        if (GifScreen::neededFor(frames_)) screen_.emplace(frames_, surroundings);
    } catch (const Failure& failure) {
        warn(file_, text(L"frames as they are, as for their screen ", failure.words));
    }
    prepare();
}

void Document::show(Picture picture, const std::wstring& name) {
    *this = Document();
    name_ = name;
    frames_.push_back(std::move(picture));
    prepare();
}

void Document::prepare() {
    if (screen_) screen_->show(frames_, frame_);
    grey_.reset();
    if (picture().bits() == 16) grey_ = converted(picture(), 8);
}

Picture& Document::drawable() {
    if (screen_) return screen_->picture();
    return grey_ ? *grey_ : picture();
}

std::wstring Document::title() const {
    if (name_.empty()) return L"ornview";
    if (!hasPicture()) return name_ + L" - ornview";
    const Picture& seen = screen_ ? screen_->picture() : frames_[frame_];
    const unsigned bits = frames_[frame_].bits();
    std::wstring title =
        text(name_, L" - ", seen.width(), L" x ", seen.height(), L", ", bits, bits == 1 ? L" bit" : L" bits");
    if (format_) title += text(L", ", format_->name);
    if (frameCount() > 1) title += text(L", frame ", frame_ + 1, L" of ", frameCount());
    if (!notes().empty()) title += text(L" (", notes(), L")");
    return title + L" - ornview";
}

void Document::showFrame(std::size_t frame) {
    if (!hasPicture()) return;
    frame_ = std::min(frame, frameCount() - 1);
    prepare();
}

void Document::stepFrame(int by) {
    if (hasPicture()) showFrame(stepped(frame_, by, frameCount()));
}

void Document::startPlaying() {
    rounds_ = 0;
    if (frame_ + 1 == frameCount()) showFrame(0);
}

// A file that says nothing about rounds is played once, one that says n once and then n times more.
bool Document::playOn() {
    const int loops = picture().gif.loops;
    if (frame_ + 1 == frameCount() && loops != 0 && rounds_++ >= loops) return false;
    stepFrame(1);
    return true;
}

// Frames without a delay, or with one that no screen can follow, take a tenth of a second, as is the custom.
unsigned Document::frameDelay() const {
    constexpr int shortest = 2, usual = 10;
    const int delay = frames_[frame_].gif.delay;
    return static_cast<unsigned>(delay < shortest ? usual : delay) * 10;
}

void Document::stepFile(int by) {
    if (file_.empty()) return;
    const std::wstring folder = splitName(file_).folder;
    const std::vector<std::wstring> names = picturesIn(folder);
    if (names.empty()) return;
    const auto here =
        std::ranges::find_if(names, [&](const std::wstring& name) { return sameName(name, nameOf(file_)); });
    // From a file that is not among them, forwards leads to the first and backwards to the last.
    const std::size_t next = here != names.end()
                                 ? stepped(static_cast<std::size_t>(here - names.begin()), by, names.size())
                             : by > 0 ? 0
                                      : names.size() - 1;
    open(folder + names[next]);
}

void Document::saveAs(const std::wstring& file) {
    const Format* format = formatByExtension(file);
    if (!format)
        throw Failure{
            text(L"its extension names none of the formats that can be written (", formatNames(), L")")};
    OutputFile output(file);
    saveFrames(output.temporaryName(), *format);
    output.finish();
}

// Of an animation, a file that holds one picture gets what is seen; else frames are saved as they were
// loaded, with their colours.
void Document::saveFrames(const std::wstring& file, const Format& format) {
    const bool several = format.holdsSeveral && frameCount() > 1;
    const bool seen = screen_ && frameCount() > 1 && !several;
    const unsigned count = several ? static_cast<unsigned>(frameCount()) : 1;
    for (unsigned i = 0; i < count; i++) {
        Picture copy = copyOf(several ? frames_[i] : seen ? screen_->picture() : picture());
        fitDepth(copy, format.depths);
        format.save(file, copy, {i, several});
    }
}

}  // namespace ornview
