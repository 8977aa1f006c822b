// The window: draws the document's picture with viewimageex, scrolls it, takes commands.
#pragma once

#include <windows.h>

#include <shellapi.h>

#include <string>

#include "document.h"
#include "scroller.h"

namespace ornview {

class Viewer {
 public:
    // A window of the given size, frame included. mode is how devices with few colours are served: see
    // viewimageex.
    Viewer(SIZE size, int mode);
    ~Viewer();
    Viewer(const Viewer&) = delete;
    Viewer& operator=(const Viewer&) = delete;

    HWND window() const { return window_; }
    HACCEL accelerators() const { return accelerators_; }
    void open(const std::wstring& file);  // an animation plays at once
    void stopAtFrame(std::size_t frame);  // counted from 0
    void scrollTo(POINT position) { scroller_.moveTo(position); }
    const Document& document() const { return document_; }

 private:
    static LRESULT CALLBACK receive(HWND window, UINT message, WPARAM wide, LPARAM lengthy);
    LRESULT handle(UINT message, WPARAM wide, LPARAM lengthy);
    void command(int id);
    void attempt(void (Viewer::*action)(), const wchar_t* purpose);

    // Drawing.
    void paint();
    void drawPicture(HDC dc);
    void drawMessage(HDC dc);
    POINT corner();  // of the picture in the client area: small ones lie in the middle
    bool realizePalette();

    // Commands.
    void openChosen();
    void saveChosen();
    void copy();
    void paste();
    void setMode(int mode);
    void play(bool on);
    void playOn();
    void stepFrame(int by);
    void takeDrop(HDROP drop);
    void documentChanged();  // another picture: where it is seen from begins anew
    void frameChanged();

    HWND window_ = nullptr;
    HACCEL accelerators_ = nullptr;
    Document document_;
    Scroller scroller_;
    HPALETTE palette_ = nullptr;  // of what was drawn last, kept to be realised again
    int mode_;
    bool playing_ = false;
};

}  // namespace ornview
