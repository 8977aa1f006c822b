// What the window shows: the pictures of a file, one at a time, or a message why there is none.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ornconvert/formats.h"
#include "ornconvert/picture.h"

namespace ornview {

using ornconvert::Format;
using ornconvert::Picture;

class Document {
 public:
    // Loads the file; one that cannot be read leaves no picture, and a message.
    void open(const std::wstring& file);
    // Shows a picture that comes from no file.
    void show(Picture picture, const std::wstring& name);

    bool hasPicture() const { return !frames_.empty(); }
    const std::wstring& message() const { return message_; }  // when there is no picture
    const std::wstring& file() const { return file_; }        // "" when the picture comes from no file
    std::wstring title() const;

    // The present frame as loaded; and for drawing, which knows no grey of 16 bits.
    Picture& picture() { return frames_[frame_]; }
    Picture& drawable() { return drawable_ ? *drawable_ : picture(); }

    std::size_t frameCount() const { return frames_.size(); }
    void stepFrame(int by);       // round and round
    unsigned frameDelay() const;  // of the present frame, in milliseconds
    void stepFile(int by);        // to another picture file of the folder

    // Saves the present picture; the extension says the format. Throws a Failure.
    void saveAs(const std::wstring& file);

 private:
    void prepare();  // the present frame for drawing

    std::wstring file_, name_, message_;
    const Format* format_ = nullptr;
    std::vector<Picture> frames_;
    std::size_t frame_ = 0;
    std::optional<Picture> drawable_;
};

// A picture of its own with the same pixels, colours and resolution.
Picture copyOf(const Picture& picture);

}  // namespace ornview
