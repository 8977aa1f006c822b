// One table makes the menu and the accelerator keys.
#include "menu.h"

#include <iterator>

namespace ornview {
namespace {

struct Item {
    const wchar_t* words;  // null is a line; one without a command begins the next menu
    WORD command;
    BYTE modifiers;  // FCONTROL; the key is a virtual one
    WORD key;
};

constexpr Item items[] = {
    {L"&File", 0, 0, 0},
    {L"&Open ...\tCtrl+O", openFile, FCONTROL, 'O'},
    {L"&Save as ...\tCtrl+S", saveFile, FCONTROL, 'S'},
    {nullptr, 0, 0, 0},
    {L"&Next in folder\tN", nextFile, 0, 'N'},
    {L"&Previous in folder\tP", previousFile, 0, 'P'},
    {nullptr, 0, 0, 0},
    {L"&Quit\tEsc", closeWindow, 0, VK_ESCAPE},
    {L"&Edit", 0, 0, 0},
    {L"&Copy\tCtrl+C", copyPicture, FCONTROL, 'C'},
    {L"&Paste\tCtrl+V", pastePicture, FCONTROL, 'V'},
    {L"F&rames", 0, 0, 0},
    {L"&Next\t.", nextFrame, 0, VK_OEM_PERIOD},
    {L"&Previous\t,", previousFrame, 0, VK_OEM_COMMA},
    {L"P&lay\tSpace", playFrames, 0, VK_SPACE},
    {L"&Colours", 0, 0, 0},
    {L"&256 that suit the picture\t1", suitingColours, 0, '1'},
    {L"&Ordered dither\t2", orderedDither, 0, '2'},
    {L"&Error diffusion\t3", errorDiffusion, 0, '3'},
};

void enable(HMENU menu, UINT command, bool on) {
    EnableMenuItem(menu, command, MF_BYCOMMAND | static_cast<UINT>(on ? MF_ENABLED : MF_GRAYED));
}

}  // namespace

HMENU createMenu() {
    const HMENU bar = CreateMenu();
    HMENU menu = nullptr;
    for (const Item& item : items) {
        if (!item.words) {
            AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
        } else if (!item.command) {
            menu = CreatePopupMenu();
            AppendMenuW(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(menu), item.words);
        } else {
            AppendMenuW(menu, MF_STRING, item.command, item.words);
        }
    }
    return bar;
}

HACCEL createAccelerators() {
    ACCEL keys[std::size(items)];
    int n = 0;
    for (const Item& item : items)
        if (item.command) keys[n++] = {static_cast<BYTE>(item.modifiers | FVIRTKEY), item.key, item.command};
    return CreateAcceleratorTableW(keys, n);
}

void updateMenu(HMENU menu, const MenuState& state) {
    for (const UINT command : {saveFile, copyPicture}) enable(menu, command, state.picture);
    for (const UINT command : {nextFrame, previousFrame, playFrames}) enable(menu, command, state.frames);
    CheckMenuItem(menu, playFrames, static_cast<UINT>(state.playing ? MF_CHECKED : MF_UNCHECKED));
    CheckMenuRadioItem(menu, suitingColours, errorDiffusion, suitingColours + static_cast<UINT>(state.mode),
                       MF_BYCOMMAND);
}

}  // namespace ornview
