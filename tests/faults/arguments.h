// What the calls of calls.h are made with. An argument is the same whenever a call starts, becomes what the
// parameter's type asks for, and tells afterwards what has been made of it.
#pragma once

#include <memory>
#include <utility>

#include "tests/display/canvas.h"
#include "tests/faults/calls.h"
#include "tests/faults/import_table.h"
#include "tests/support/files.h"

namespace faults {

struct Argument {
    virtual ~Argument() = default;
    virtual void reset() {}                            // before a run
    virtual int finish(int result) { return result; }  // after it: releases what was handed out
    virtual unsigned output() const { return 0; }      // a hash
};

// A number, a null pointer, or anything else that calls leave as it is.
template <class T>
struct Constant : Argument {
    explicit Constant(T of) : value(of) {}
    operator T() const { return value; }
    T value;
};

// A picture of random pixels and colours, its rows in a DIB section or not.
class Image : public Argument {
 public:
    Image(unsigned width, unsigned height, unsigned bits, unsigned seed, bool section = false)
        : image_(std::make_shared<test::TestImage>(width, height, bits, section)) {
        test::Random random(seed);
        image_->randomise(random);
        if (bits == 8) image_->randomisePalette(random);
        record().imgkind = 0;
        first_ = record();
        bytes_ = image_->bytes();
        palette_.assign(first_.palette, first_.palette + first_.palcolors);
    }
    operator imgdes*() const { return &record(); }
    imgdes& record() const { return image_->image; }
    Image withColours(int count) const {
        Image copy = *this;
        copy.first_.palcolors = count;
        return copy;
    }
    void reset() override {
        record() = first_;
        std::copy(bytes_.begin(), bytes_.end(), first_.bits);
        std::copy(palette_.begin(), palette_.end(), first_.palette);
    }
    unsigned output() const override {
        const unsigned pixels = hash(first_.bits, bytes_.size());
        return hash(first_.palette, static_cast<unsigned>(record().palcolors) * 4, pixels);
    }

 private:
    std::shared_ptr<test::TestImage> image_;
    imgdes first_;
    std::vector<std::uint8_t> bytes_;
    std::vector<RGBQUAD> palette_;
};

// 4 KB for a call to fill, which begin with some values and are zero behind them.
struct Room : Argument {
    Room() = default;
    template <class T>
    explicit Room(const T& value) {
        std::memcpy(first.data(), &value, sizeof value);
    }
    template <class T>
    operator T*() {
        return reinterpret_cast<T*>(bytes.data());
    }
    void reset() override { bytes = first; }
    unsigned output() const override { return hash(bytes.data(), bytes.size()); }

    std::vector<std::uint8_t> first = std::vector<std::uint8_t>(4096), bytes = first;
};

// A file to read: by either kind of name, or what is in it.
struct Source : Argument {
    explicit Source(const std::string& file) : name(file), wide(file.begin(), file.end()) {
        if (hashOfFile(file)) bytes = test::readFile(file);
        bytes.resize(bytes.size() + 128);  // buffers are asked for their first 100 bytes
    }
    operator const char*() const { return name.c_str(); }
    operator const WCHAR*() const { return wide.c_str(); }
    operator const void*() const { return bytes.data(); }

    std::string name;
    std::wstring wide;
    test::Bytes bytes;
};

// A file to make, by either kind of name, or a buffer that is handed out. An append finds a copy of another
// file.
struct Made : Argument {
    explicit Made(const std::string& file, const std::string& copyOf = "")
        : name(file), original(copyOf), wide(file.begin(), file.end()) {}
    operator const char*() const { return name.c_str(); }
    operator const WCHAR*() const { return wide.c_str(); }
    operator void**() {
        isBuffer = true;
        return &buffer;
    }
    void reset() override {
        if (original.empty())
            DeleteFileA(name.c_str());
        else
            CopyFileA(original.c_str(), name.c_str(), FALSE);
    }
    // A call that fails hands out nothing.
    int finish(int result) override {
        if (!isBuffer) return result;
        outputOfBuffer = buffer ? hash(buffer, sizeOf(buffer)) : 0;
        if (buffer) releaseBlock(buffer);
        return std::exchange(buffer, nullptr) && result ? 1 : result;
    }
    unsigned output() const override { return isBuffer ? outputOfBuffer : hashOfFile(name); }

    std::string name, original;
    std::wstring wide;
    void* buffer = nullptr;
    bool isBuffer = false;
    unsigned outputOfBuffer = 0;
};

// Where a call draws: the window, the device context, and the palette that is handed out.
class Canvas : public Argument {
 public:
    explicit Canvas(int depth = 32) : depth_(depth) {}
    operator HWND() const { return *window_; }
    operator HDC() const { return surface_->dc(); }
    operator HPALETTE*() { return &palette_; }
    Canvas ofDepth(int depth) const {
        Canvas copy = *this;
        copy.depth_ = depth;
        return copy;
    }
    void reset() override {
        surface_->clear();
        pretendScreenDepth(depth_);
    }
    // A call that fails draws nothing.
    int finish(int result) override {
        if (result && surface_->pixels().colours != test::blank(size.cx, size.cy).colours) result = 1;
        if (palette_) deletePalette(std::exchange(palette_, nullptr));
        pretendScreenDepth(0);
        return result;
    }
    unsigned output() const override {
        const test::Pixels shown = surface_->pixels();
        return hash(shown.colours.data(), shown.colours.size() * 4);
    }

 private:
    static constexpr SIZE size = {50, 40};
    std::shared_ptr<test::Window> window_ = std::make_shared<test::Window>(test::Window::sizeOnly, size);
    std::shared_ptr<test::Surface> surface_ = std::make_shared<test::Surface>(size.cx, size.cy);
    int depth_;
    HPALETTE palette_ = nullptr;
};

}  // namespace faults
