// The walk from marker to marker. What each segment holds is read in segments.cpp.
#include "jpeg/headers.h"

#include <cstring>

#include "jpeg/error.h"

namespace orn32::jpeg {
namespace {

bool isFrame(std::uint8_t code) {
    using namespace marker;
    return (code >= sof0 && code <= sof3) || (code >= sof9 && code <= sof11);
}

// Markers of two bytes, without a segment; 0xFF00 is a data byte.
bool standsAlone(std::uint8_t code) {
    using namespace marker;
    return code == 0 || code == tem || code == soi || (code >= rst0 && code <= rst7);
}

}  // namespace

int HeaderReader::readInformation() {
    return read(Purpose::information);
}

int HeaderReader::readScanHeader(bool tolerateEnd) {
    tolerateEnd_ = tolerateEnd;
    const int code = read(Purpose::scan);
    frameIsFixed_ = true;
    return code;
}

int HeaderReader::read(Purpose purpose) {
    bool first = true;
    for (;;) {
        if (!findMarker()) return 0;
        const std::uint8_t code = in_.next()[1];
        if (first && purpose == Purpose::information && code != marker::soi) return ERR_BAD_JPEG;
        first = false;
        if (code == 0xFF) {
            in_.skip(1);
        } else if (standsAlone(code)) {
            in_.skip(2);
        } else {
            int result = 0;
            if (readSegment(purpose, code, result) != Step::next) return result;
        }
    }
}

// Goes to the next 0xFF with a byte behind it.
bool HeaderReader::findMarker() {
    for (;;) {
        const void* found = in_.available() ? std::memchr(in_.next(), 0xFF, in_.available()) : nullptr;
        in_.setNext(found ? static_cast<const std::uint8_t*>(found) : in_.end());
        if (in_.available() >= 2) return true;
        if (!in_.readMore()) return endOfData();
    }
}

// Unwinds, or where that is allowed tells the caller to stop.
bool HeaderReader::endOfData() {
    if (!tolerateEnd_) fail(Detail::endOfData);
    record(Detail::endOfData);
    ended_ = true;
    return false;
}

HeaderReader::Step HeaderReader::readSegment(Purpose purpose, std::uint8_t code, int& result) {
    if (code == marker::eoi) {
        result = purpose == Purpose::information ? ERR_BAD_JPEG : ERR_NO_DATA;
        return Step::finished;
    }
    if (code == marker::sos && purpose == Purpose::information) return Step::found;
    if (in_.ensure(4) < 4) {
        endOfData();
        return Step::finished;
    }
    return readKnownSegment(purpose, code, result);
}

HeaderReader::Step HeaderReader::readKnownSegment(Purpose purpose, std::uint8_t code, int& result) {
    constexpr std::uint32_t lookAhead =
        256;  // tables that run past their segment's end are read all the same
    const std::uint32_t length = wordAt(2);
    const bool information = purpose == Purpose::information;
    const bool skipped =
        code >= marker::app0 && code != marker::app14 && !(information && code == marker::app0);
    if (!skipped && in_.ensure(length + 2 + lookAhead) < length + 2) {
        endOfData();
        return Step::finished;
    }
    if (isFrame(code)) {
        if (information) result = readFrame(code);
        if (!information && frameIsFixed_) result = refuse(Detail::frameType);
    }
    if (code == marker::dqt && information) readQuantTables(length);
    if (code == marker::dht && !information) result = readHuffmanTables(length);
    if (code == marker::dri) headers_.restartInterval = wordAt(4);
    if (code == marker::app0 && information) {
        if (hasTextAt(4, "JFIF")) readJfif(length);
        if (hasTextAt(4, "JFXX")) readJfifExtension();
    }
    if (code == marker::app14) readAdobe();
    if (code == marker::sos) result = readScan();
    if (result) return Step::finished;
    in_.skip(length + 2);
    return code == marker::sos ? Step::found : Step::next;
}

bool HeaderReader::hasTextAt(std::uint32_t i, const char* text) const {
    for (; *text; text++, i++)
        if (at(i) != static_cast<unsigned char>(*text)) return false;
    return true;
}

}  // namespace orn32::jpeg
