// GIF compression once more, as plainly as it can be put: one bit, one table lookup, one byte at a time.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "tests/gif/gif_builder.h"

namespace test {

// Joins the sub-blocks behind the code size byte, up to the terminator.
inline Bytes joinedBlocks(const Bytes& data, std::size_t at = 1) {
    Bytes joined;
    while (at < data.size() && data[at] != 0) {
        const std::size_t end = std::min(data.size(), at + 1 + data[at]);
        joined = std::move(joined) + slice(data, at + 1, end - at - 1);
        at = end;
    }
    return joined;
}

// What the exported decoder must make of any data, however damaged: tables that live on across clear codes,
// codes beyond the table that repeat the previous one, chains that lead anywhere.
struct AnyDecode {
    std::size_t consumed = 0;  // 0 for failure
    Bytes pixels;              // as many as were put out, also before a failure

    AnyDecode(const Bytes& data, std::size_t room) : data_(data), room_(room) {
        if (!data.empty() && data[0] >= 2 && data[0] <= 9 && run()) consumed = at_ - 1;
    }

 private:
    bool run() {
        const int clear = 1 << data_[0], end = clear + 1;
        int slot = clear + 2, oc = 0, fc = 0, c;
        std::array<int, 4096> prefix = {}, suffix = {};
        width_ = data_[0] + 1;
        while ((c = next(end)) != end) {
            if (c < 0) return false;
            if (c == clear) {
                width_ = data_[0] + 1;
                slot = clear + 2;
                do c = next(end);
                while (c == clear);
                if (c == end) break;
                if (c < 0) return false;
                if (c >= slot) c = 0;
                oc = fc = c;
                if (!put(c)) return false;
                continue;
            }
            std::vector<int> stack;
            int code = c;
            if (code >= slot) code = oc, stack.push_back(fc);
            if (code >= slot) return false;
            for (; code >= clear + 2; code = prefix.at(code)) {
                if (prefix[code] == code || stack.size() > 5000) return false;
                stack.push_back(suffix[code]);
            }
            stack.push_back(code);
            if (slot < 1 << width_) {
                fc = suffix[slot] = code;
                prefix[slot++] = oc;
                oc = c;
            }
            if (slot >= 1 << width_ && width_ < 12) width_++;
            for (; !stack.empty(); stack.pop_back())
                if (!put(stack.back())) return false;
        }
        return true;
    }
    bool put(int pixel) {
        if (pixels.size() == room_) return false;
        pixels.push_back(static_cast<std::uint8_t>(pixel));
        return true;
    }
    int next(int end) {
        int code = 0;
        for (int i = 0; i < width_; i++) {
            if (bits_ == 0) {
                if (left_ == 0) {
                    if (at_ == data_.size()) return -1;
                    left_ = data_[at_++];
                    if (left_ == 0) return end;
                    if (at_ + left_ > data_.size()) return -1;
                    block_ = at_;
                    at_ += left_;
                }
                byte_ = data_[block_++];
                left_--;
                bits_ = 8;
            }
            code |= (byte_ & 1) << i;
            byte_ >>= 1;
            bits_--;
        }
        return code;
    }

    const Bytes& data_;
    std::size_t room_, at_ = 1, left_ = 0, block_ = 0;
    int width_ = 0, bits_ = 0, byte_ = 0;
};

// What the exported encoder must write: its hash table of 5003 places is part of the result.
class PlainEncoder {
 public:
    PlainEncoder(unsigned size, const Bytes& pixels) : size_(size) {
        const long clear = 1L << size, end = clear + 1;
        std::vector<long> keys(5003, -1), codes(5003, 0);
        long freeEntry = clear + 2;
        resetWidth();
        out_ = {static_cast<std::uint8_t>(size)};
        put(clear, freeEntry, false);
        long prefix = pixels.empty() ? -1 : pixels[0];
        for (std::size_t n = 1; n < pixels.size(); n++) {
            const long c = pixels[n], key = (c << 12) + prefix;
            long i = (c << 4) ^ prefix;
            bool found = keys[i] == key;
            if (!found && keys[i] >= 0) {
                const long displacement = i == 0 ? 1 : 5003 - i;
                do {
                    i -= displacement;
                    if (i < 0) i += 5003;
                    found = keys[i] == key;
                } while (!found && keys[i] > 0);
            }
            if (found) {
                prefix = codes[i];
                continue;
            }
            put(prefix, freeEntry, false);
            prefix = c;
            if (freeEntry < 4096) {
                codes[i] = freeEntry++;
                keys[i] = key;
            } else {
                keys.assign(5003, -1);
                freeEntry = clear + 2;
                put(clear, freeEntry, true);
                clears_++;
            }
        }
        put(prefix, freeEntry, false);
        put(end, freeEntry, false);
        append(out_, subBlocks(bits_.bytes));
        if (bits_.bytes.size() % 255 == 0) out_.push_back(0);  // an empty block in front of the terminator
        out_.push_back(';');
    }

    const Bytes& bytes() const { return out_; }
    int clears() const { return clears_; }  // how often the table ran over

 private:
    void resetWidth() {
        width_ = size_ + 1;
        lastCode_ = (1L << width_) - 1;
    }
    void put(long code, long freeEntry, bool clearing) {
        bits_.put(static_cast<unsigned>(code), width_);
        if (clearing) {
            resetWidth();
        } else if (freeEntry > lastCode_) {
            width_++;
            lastCode_ = width_ == 12 ? 4096 : (1L << width_) - 1;
        }
    }
    unsigned size_, width_ = 0;
    long lastCode_ = 0;
    int clears_ = 0;
    CodeBits bits_;
    Bytes out_;
};

}  // namespace test
