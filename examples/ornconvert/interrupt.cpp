// Ctrl-C.
#include "interrupt.h"

#include <windows.h>

#include <atomic>

namespace ornconvert {
namespace {

std::atomic<bool> interrupted = false;

// Runs on a thread of its own, where nothing can be tidied up: the library holds the unfinished file open.
BOOL WINAPI noteInterrupt(DWORD event) {
    return (event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT) && !interrupted.exchange(true);
}

}  // namespace

void watchForInterrupt() {
    SetConsoleCtrlHandler(noteInterrupt, TRUE);
}

void stopIfInterrupted() {
    if (interrupted) throw Interrupted();
}

}  // namespace ornconvert
