// Commands, and the menu and keys that give them.
#pragma once

#include <windows.h>

namespace ornview {

enum Command {
    openFile = 100,
    saveFile,
    nextFile,
    previousFile,
    closeWindow,
    copyPicture,
    pastePicture,
    nextFrame,
    previousFrame,
    playFrames,
    suitingColours,  // the three in the order of viewimageex's modes
    orderedDither,
    errorDiffusion,
};

HMENU createMenu();
HACCEL createAccelerators();

// What the commands that are choices or may make no sense look like in the menu.
struct MenuState {
    bool picture, frames, playing;
    int mode;
};
void updateMenu(HMENU menu, const MenuState& state);

}  // namespace ornview
