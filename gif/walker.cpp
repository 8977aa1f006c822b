#include "gif/walker.h"

#include <cstring>

#include "gif/file_view.h"
#include "gif/format.h"

namespace orn32::gif {
namespace {

constexpr int noMoreFrames = 1;  // the trailer was met; never returned to callers

class Walker {
 public:
    Walker(FileView& view, Records& records)
        : view_(view), file_(records.file), global_(records.global), frame_(records.frame) {}

    int run(const WalkLimits& limits) {
        if (!readHeader()) return ERR_BAD_GIF;
        int code = walkHeaderExtensions();
        for (unsigned k = 0; k < limits.count && code == 0; k++) {
            startFrame(k);
            code = walkFrame(k == limits.count - 1);
            if (limits.frames) limits.frames[k] = frame_;
            global_.commentoffset = commentOffset_;
            if (limits.stopAtComment && commentOffset_) return code == noMoreFrames ? 0 : code;
            if (code == noMoreFrames) return k < limits.count - 1 ? ERR_NO_FRAME : 0;
        }
        return code;
    }

 private:
    bool readHeader() {
        std::uint8_t bytes[headerBytes];
        view_.read(0, bytes, headerBytes);
        if (std::memcmp(bytes, "GIF", 3) != 0) return false;
        for (unsigned i = 3; i < 6 && bytes[i] >= '0' && bytes[i] <= '9'; i++)
            file_.version = file_.version * 10 + (bytes[i] - '0');
        global_.screenwidth = word(bytes + 6);
        global_.screenheight = word(bytes + 8);
        const int packed = bytes[10];
        global_.colorres = file_.colorres = ((packed & 0x70) >> 4) + 1;
        global_.bitsperpixel = file_.bitsperpixel = (packed & 7) + 1;
        global_.bkgndcolor = bytes[11];
        global_.aspectratio = bytes[12];
        global_.loopcount = -1;
        if (packed & hasTable) {
            global_.hasglobalpalette = 1;
            global_.globalcolors = 1 << global_.bitsperpixel;
            global_.globalpaloffset = headerBytes;
        }
        position_ = headerBytes + 3u * static_cast<unsigned>(global_.globalcolors);
        return true;
    }

    // What stands between the header and the first frame's own extensions. The loop count is looked for here
    // only, and nothing behind it.
    int walkHeaderExtensions() {
        std::uint8_t bytes[loopBlockBytes];
        for (;;) {
            view_.read(position_, bytes, loopBlockBytes);
            if (bytes[0] != extension || bytes[1] == graphicControlLabel) return 0;
            if (bytes[1] == applicationLabel && std::memcmp(bytes + 3, "NETSCAPE", 8) == 0) {
                global_.loopcount = word(bytes + 16);
                position_ += loopBlockBytes;
                return 0;
            }
            position_ += 2;
            if (bytes[1] == commentLabel) rememberComment();
            if (const int code = skipBlocks(FileView::extensionSpan)) return code;
        }
    }

    void startFrame(unsigned number) {
        frame_ = {};
        frame_.frameno = static_cast<int>(number);
        frame_.transcolor = file_.transcolor = -1;
        file_.bitsperpixel = global_.bitsperpixel;
    }

    // Returns 0 for a frame, and in the first one also where the data ends behind an extension.
    int walkFrame(bool last) {
        int atEnd = frame_.frameno == 0 ? ERR_BAD_GIF : ERR_NO_FRAME;
        for (;;) {
            switch (view_.byteAt(position_)) {
                case -1:
                    return atEnd;
                case extension:
                    if (const int code = walkExtension()) return code;
                    if (frame_.frameno == 0) atEnd = 0;
                    break;
                case imageDescriptor:
                    readDescriptor();
                    return last ? 0 : skipBlocks(FileView::dataSpan);
                case trailer:
                    return noMoreFrames;
                default:  // stray bytes do no harm
                    position_++;
            }
        }
    }

    int walkExtension() {
        std::uint8_t bytes[graphicControlBytes];
        view_.read(position_, bytes, graphicControlBytes);
        if (bytes[1] == graphicControlLabel) {
            frame_.disposal = (bytes[3] & 0x1C) >> 2;
            frame_.userinput = (bytes[3] & 2) >> 1;
            frame_.delay = word(bytes + 4);
            if (bytes[3] & 1) frame_.transcolor = file_.transcolor = bytes[6];
            position_ += graphicControlBytes;
            return 0;
        }
        position_ += 2;
        if (bytes[1] == commentLabel) rememberComment();
        return skipBlocks(FileView::extensionSpan);
    }

    void readDescriptor() {
        std::uint8_t bytes[descriptorBytes];
        view_.read(position_, bytes, descriptorBytes);
        frame_.left = word(bytes + 1);
        frame_.top = word(bytes + 3);
        frame_.width = file_.width = word(bytes + 5);
        frame_.height = file_.height = word(bytes + 7);
        const int packed = bytes[9];
        frame_.interlaced = file_.interlaced = packed & isInterlaced ? 1 : 0;
        position_ += descriptorBytes;
        if (packed & hasTable) {
            file_.bitsperpixel = (packed & 7) + 1;
            frame_.haslocalpalette = 1;
            frame_.localcolors = 1 << file_.bitsperpixel;
            frame_.localpaloffset = offset();
            position_ += 3u * static_cast<unsigned>(frame_.localcolors);
        }
        std::uint8_t codeSize;
        view_.read(position_++, &codeSize, 1);
        frame_.codesize = file_.codesize = codeSize;
        frame_.dataoffset = offset();
        frame_.dibbits = file_.dibbits = file_.bitsperpixel == 1 ? 1 : 8;
    }

    // To behind the terminator.
    int skipBlocks(std::uint32_t span) {
        for (;;) {
            const int size = view_.byteAt(position_, span);
            if (size < 0) return ERR_TRUNCATED;
            position_ += static_cast<unsigned>(size) + 1;
            if (size == 0) return 0;
        }
    }

    void rememberComment() { commentOffset_ = offset(); }
    UINT offset() const { return static_cast<UINT>(position_); }

    FileView& view_;
    GifFileInfo& file_;
    GifGlobalInfo& global_;
    GifFrameInfo& frame_;
    UINT commentOffset_ = 0;
    std::uint64_t position_ = 0;  // 64 bits: blocks that go on for ever end at 4 GB
};

}  // namespace

int walk(const Source& source, const WalkLimits& limits, Records& records) {
    records = {};
    records.file.transcolor = -1;
    if (limits.frames && limits.count > 0) limits.frames[0] = {};
    if (!startIsReadable(source)) return ERR_SOURCE_BUFFER;
    InputStream in(source);
    if (!in.isOpen()) return ERR_OPEN;
    FileView view(in);
    if (!view) return ERR_MEMORY;
    return Walker(view, records).run(limits);
}

}  // namespace orn32::gif
