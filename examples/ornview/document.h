// What the window shows: the pictures of a file, one at a time, or a message why there is none.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "gif_screen.h"
#include "ornconvert/formats.h"
#include "ornconvert/picture.h"

namespace ornview {

using ornconvert::Format;

// What a picture lies on, and what is seen through its holes: one of the colours that every device has.
constexpr COLORREF surroundings = RGB(128, 128, 128);

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

    // The present frame as it is meant to be seen, in a depth that GDI knows.
    Picture& drawable();

    std::size_t frameCount() const { return frames_.size(); }
    void stepFrame(int by);             // round and round
    void showFrame(std::size_t frame);  // counted from 0; the last one if there are not so many

    // Playing goes from frame to frame for as many rounds as the file wants, and ends with the last frame.
    void startPlaying();
    bool playOn();                // false at the end
    unsigned frameDelay() const;  // of the present frame, in milliseconds

    void stepFile(int by);  // to another picture file of the folder

    // Saves the present picture; the extension says the format. A format that holds several pictures gets all
    // frames. Throws a Failure.
    void saveAs(const std::wstring& file);

 private:
    Picture& picture() { return frames_[frame_]; }  // as loaded
    void loadFrames();
    void prepare();  // the present frame for drawing
    void saveFrames(const std::wstring& file, const Format& format);

    std::wstring file_, name_, message_;
    const Format* format_ = nullptr;
    std::vector<Picture> frames_;
    std::size_t frame_ = 0;
    int rounds_ = 0;  // played to the end
    std::optional<GifScreen> screen_;
    std::optional<Picture> grey_;  // 16 bits as 8
};

// A picture of its own with the same pixels, colours and resolution.
Picture copyOf(const Picture& picture);

}  // namespace ornview
