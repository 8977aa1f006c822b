// Ctrl-C: the program stops at the next point where nothing is half done, and the unfinished file is removed.
#pragma once

namespace ornconvert {

struct Interrupted {};

void watchForInterrupt();  // from now on; a second Ctrl-C still ends the program at once
void stopIfInterrupted();  // throws Interrupted

}  // namespace ornconvert
