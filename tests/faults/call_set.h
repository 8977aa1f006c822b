// Builds the calls of calls.h: each on a picture, a record or a file that is the same whenever the call
// starts.
#pragma once

#include <windows.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "orn32.h"
#include "tests/faults/calls.h"

namespace faults {

unsigned hash(const void* data, std::size_t size, unsigned seed = 2166136261u);
unsigned hashOfFile(const std::string& name);

struct Picture {
    imgdes image{};
    Picture(unsigned width, unsigned height, unsigned bits, unsigned seed, bool section);
    ~Picture() { freeimage(&image); }
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;
    operator imgdes*() { return &image; }
    unsigned hash() const;
};
using Shared = std::shared_ptr<Picture>;

// Of random pixels and colours; its rows in a DIB section or not.
Shared picture(unsigned width, unsigned height, unsigned bits, unsigned seed = 1, bool section = false);

class CallSet {
 public:
    explicit CallSet(const std::string& folder) : folder_(folder) {}

    std::string path(const std::string& name) const { return folder_ + "\\" + name; }

    // A call on one picture, which is as it was at first whenever the call starts.
    template <class Run>
    void onPicture(const std::string& name, const Shared& image, Run run) {
        const std::vector<std::uint8_t> bits(image->image.bits,
                                             image->image.bits + image->image.header->biSizeImage);
        const imgdes record = image->image;
        const std::vector<RGBQUAD> palette(record.palette, record.palette + record.palcolors);
        list.push_back({name,
                        [=] {
                            std::copy(bits.begin(), bits.end(), image->image.bits);
                            std::copy(palette.begin(), palette.end(), image->image.palette);
                            image->image.palcolors = record.palcolors;
                            image->image.imgkind = record.imgkind;
                            return run(*image);
                        },
                        [=] { return image->hash(); }});
    }

    // A call that fills a record or a table, which is all zero when the call starts.
    template <class Record, class Run>
    void onRecord(const std::string& name, Run run) {
        auto record = std::make_shared<Record>();
        list.push_back({name,
                        [=] {
                            std::memset(static_cast<void*>(record.get()), 0, sizeof(Record));
                            return run(record.get());
                        },
                        [=] { return hash(record.get(), sizeof(Record)); }});
    }

    // A call whose result is all there is to see of it.
    template <class Run>
    void plain(const std::string& name, Run run) {
        list.push_back({name, run, [] { return 0u; }});
    }

    // A save to a file of the folder: run(narrow name, wide name).
    template <class Run>
    void toFile(const std::string& name, const std::string& file, Run run) {
        const std::string made = path(file);
        list.push_back({name,
                        [=] { return run(made.c_str(), std::wstring(made.begin(), made.end()).c_str()); },
                        [=] { return hashOfFile(made); }, made});
    }

    // A save to memory, run(buffer). A failed one hands out nothing.
    template <class Run>
    void toBuffer(const std::string& name, Run run) {
        auto output = std::make_shared<unsigned>();
        list.push_back({name,
                        [=] {
                            void* buffer = nullptr;
                            const int code = run(&buffer);
                            *output = buffer ? hashAndRelease(buffer) : 0;
                            return *output && code ? 1 : code;
                        },
                        [=] { return *output; }});
    }

    std::vector<Call> list;

 private:
    static unsigned hashAndRelease(void* buffer);

    std::string folder_;
};

void addFileCalls(CallSet& calls);
void addOperationCalls(CallSet& calls);

}  // namespace faults
