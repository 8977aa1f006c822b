// Saves every frame of a GIF as the viewer shows it: viewer_frames IN.gif FOLDER. For judges that are not ours.
#include <cstdio>

#include "ornconvert/messages.h"
#include "ornview/document.h"

int wmain(int count, wchar_t** words) {
    if (count != 3) return 2;
    try {
        ornview::Document document;
        document.open(words[1]);
        for (std::size_t i = 0; i < document.frameCount(); i++) {
            document.showFrame(i);
            document.saveAs(ornconvert::text(words[2], L"/", i, L".bmp"));
        }
        return document.hasPicture() ? 0 : 1;
    } catch (const ornconvert::Failure& failure) {
        std::fprintf(stderr, "%ls\n", failure.words.c_str());
        return 1;
    }
}
