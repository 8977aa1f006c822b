// The finished DLL, looked at as a file and called as a stranger would: what its users' programs rely on.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <set>
#include <string>

#include "orn32.h"

extern "C" int record_sizes_in_c(void);

static_assert(sizeof(imgdes) == 44);
static_assert(offsetof(imgdes, palette) == 24 && offsetof(imgdes, hbitmap) == 40);

namespace {

// The names in exports.txt. Their argument bytes are held against the header's declarations by the linker.
std::set<std::string> exportList() {
    std::set<std::string> list;
    std::ifstream file(ORN32_EXPORTS);
    for (std::string line; std::getline(file, line);)
        if (!line.empty() && line[0] != '#') list.insert(line.substr(0, line.find(' ')));
    return list;
}

class Dll : public testing::Test {
 protected:
    Dll() : module(LoadLibraryA("orn32.dll")), base(reinterpret_cast<std::uint8_t*>(module)) {
        const auto* dos = reinterpret_cast<IMAGE_DOS_HEADER*>(base);
        headers = reinterpret_cast<IMAGE_NT_HEADERS32*>(base + dos->e_lfanew);
    }
    ~Dll() override { FreeLibrary(module); }

    template <class T>
    T* at(DWORD address) const {
        return reinterpret_cast<T*>(base + address);
    }
    template <class T>
    T* directory(int which) const {
        return at<T>(headers->OptionalHeader.DataDirectory[which].VirtualAddress);
    }

    HMODULE module;
    std::uint8_t* base;
    IMAGE_NT_HEADERS32* headers;
};

// Calls of exports, as many as have to be wrong: the compiler keeps the stack as far off as it finds it.
int __attribute__((noinline)) callExports() {
    imgdes image, other, eight;
    void *file = nullptr, *saved = nullptr;
    BITMAPINFOHEADER info;
    RGBQUAD palette[256];
    int wrong = allocimage(&image, 40, 30, 24) != 0;
    wrong += allocDIB(&other, 40, 30, 24) != 0;
    wrong += allocDIB(&eight, 40, 30, 8) != 0;
    wrong += savebmptobuffer(&file, &eight, 0) != 0;
    wrong += savebmptobuffer(&saved, &eight, 1) != 0;
    wrong += loadbmpfrombuffer(file, &eight) != 0;
    wrong += bmpinfofrombuffer(file, &info) != 0;
    wrong += loadbmppalettefrombuffer(file, palette) != 256;
    wrong += copyimage(&image, &other) != 0;
    wrong += standardpalette(&eight) != 256;
    wrong += updatebitmapcolortable(&image) != 0;
    wrong += Orrinversion() != ORN32_VERSION_WORD;
    wrong += printimage(1, 2, 3, 4, 5, 6, 7) != 0;
    for (void* block : {file, saved}) GlobalFree(GlobalHandle(block));
    for (imgdes* each : {&image, &other, &eight}) freeimage(each);
    return wrong;
}

// Calls it on a stack that is `offset` bytes off an alignment of 16.
int __attribute__((noinline)) callExportsAt(int offset) {
    int result;
    asm volatile(
        "movl %%esp, %%edi\n\t"
        "andl $-16, %%esp\n\t"
        "subl %[offset], %%esp\n\t"
        "call *%[function]\n\t"
        "movl %%edi, %%esp"
        : "=&a"(result)
        : [offset] "b"(offset), [function] "S"(callExports)
        : "ecx", "edx", "edi", "memory", "cc");
    return result;
}

}  // namespace

TEST_F(Dll, ExportsTheListedNamesUndecoratedAndNothingElse) {
    const auto* exports = directory<IMAGE_EXPORT_DIRECTORY>(IMAGE_DIRECTORY_ENTRY_EXPORT);
    std::set<std::string> names;
    for (DWORD i = 0; i < exports->NumberOfNames; i++)
        names.insert(at<char>(at<DWORD>(exports->AddressOfNames)[i]));
    EXPECT_EQ(names, exportList());
    EXPECT_EQ(exports->NumberOfFunctions, exports->NumberOfNames);
}

TEST_F(Dll, ImportsSystemLibrariesOnly) {
    std::set<std::string> names;
    for (auto* import = directory<IMAGE_IMPORT_DESCRIPTOR>(IMAGE_DIRECTORY_ENTRY_IMPORT); import->Name;
         import++) {
        std::string name = at<char>(import->Name);
        for (char& c : name) c = static_cast<char>(std::toupper(c));
        names.insert(name);
    }
    EXPECT_EQ(names, (std::set<std::string>{"KERNEL32.DLL", "USER32.DLL", "GDI32.DLL", "VERSION.DLL",
                                            "MSVCRT.DLL"}));
}

TEST_F(Dll, MayBeMovedAndItsDataIsNotCode) {
    const WORD flags = headers->OptionalHeader.DllCharacteristics;
    EXPECT_TRUE(flags & IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE);
    EXPECT_TRUE(flags & IMAGE_DLLCHARACTERISTICS_NX_COMPAT);
    EXPECT_GT(headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_BASERELOC].Size, 0u);
    EXPECT_FALSE(headers->FileHeader.Characteristics & IMAGE_FILE_RELOCS_STRIPPED);
}

TEST_F(Dll, TellsItsVersion) {
    WORD words[2] = {0xFFFF, 0xFFFF};
    EXPECT_EQ(Orrinversionex(words), ORN32_VERSION_WORD);
    EXPECT_EQ(words[0], ORN32_VERSION_WORD);
    EXPECT_EQ(words[1], ORN32_BUILD_WORD);
    EXPECT_EQ(Orrinversion(), ORN32_VERSION_WORD);

    const std::string date = std::string("Jun 17 2004, 16:33:13") + '\0';
    for (const int size : {5, 21, 22, 30, 0, -1}) {
        std::string narrow(40, '#'), expected(40, '#');
        std::wstring wide(40, L'#');
        EXPECT_EQ(Orrinversiondate(&narrow[0], size), ORN32_VERSION_WORD);
        EXPECT_EQ(OrrinversiondateW(&wide[0], size), ORN32_VERSION_WORD);
        std::copy_n(date.begin(), std::clamp(size, 0, 22), expected.begin());
        EXPECT_EQ(narrow, expected) << size;
        EXPECT_EQ(wide, std::wstring(expected.begin(), expected.end())) << size;
    }
}

TEST_F(Dll, RecordsHaveTheSameSizeInCAndCpp) {
    EXPECT_EQ(record_sizes_in_c(), 44);
}

TEST_F(Dll, WorksOnAStackAlignedToFourBytes) {
    for (int offset = 0; offset < 16; offset += 4) EXPECT_EQ(callExportsAt(offset), 0) << offset;
}

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
