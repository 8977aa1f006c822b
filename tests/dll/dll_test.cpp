// The finished DLL, looked at as a file and called as a stranger would: what its users' programs rely on.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstddef>
#include <fstream>
#include <set>
#include <string>
#include <vector>

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
    FARPROC function(const char* name) const {
        const FARPROC found = GetProcAddress(module, name);
        EXPECT_TRUE(found) << name;
        return found;
    }

    HMODULE module;
    std::uint8_t* base;
    IMAGE_NT_HEADERS32* headers;
};

// Calls an export with its arguments pushed by hand on a stack that is `offset` bytes off an alignment of 16,
// and returns its result; sets removed to the bytes of arguments that the callee took off the stack.
int __attribute__((noinline))
callAt(int offset, FARPROC function, const std::vector<int>& arguments, int* removed) {
    const int* last = arguments.data();
    const int count = static_cast<int>(arguments.size());
    int result, taken;
    asm volatile(
        "movl %%esp, %%edi\n\t"
        "andl $-16, %%esp\n\t"
        "subl %[offset], %%esp\n"
        "1: testl %%ecx, %%ecx\n\t"
        "jz 2f\n\t"
        "decl %%ecx\n\t"
        "pushl (%%esi,%%ecx,4)\n\t"
        "jmp 1b\n"
        "2: movl %%esp, %%esi\n\t"
        "call *%%eax\n\t"
        "movl %%esp, %%ecx\n\t"
        "subl %%esi, %%ecx\n\t"
        "movl %%edi, %%esp\n\t"
        : "=&a"(result), "=&c"(taken), "+S"(last), [offset] "+d"(offset)
        : "0"(function), "1"(count)
        : "edi", "memory", "cc");
    *removed = taken;
    return result;
}

template <class T>
int word(T* p) {
    return static_cast<int>(reinterpret_cast<std::intptr_t>(p));
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

    struct Case {
        int size, copied;
    };
    const std::string date = "Jun 17 2004, 16:33:13";
    for (const auto& [size, copied] :
         {Case{5, 5}, Case{21, 21}, Case{22, 22}, Case{30, 22}, Case{0, 0}, Case{-1, 0}}) {
        std::string narrow(40, '#');
        std::wstring wide(40, L'#');
        EXPECT_EQ(Orrinversiondate(&narrow[0], size), ORN32_VERSION_WORD);
        EXPECT_EQ(OrrinversiondateW(&wide[0], size), ORN32_VERSION_WORD);
        const std::string expected = (date + '\0').substr(0, static_cast<std::size_t>(copied)) +
                                     std::string(static_cast<std::size_t>(40 - copied), '#');
        EXPECT_EQ(narrow, expected) << size;
        EXPECT_EQ(wide, std::wstring(expected.begin(), expected.end())) << size;
    }
}

TEST_F(Dll, RecordsHaveTheSameSizeInCAndCpp) {
    EXPECT_EQ(record_sizes_in_c(), 44);
}

TEST_F(Dll, WorksOnAStackAlignedToFourBytes) {
    imgdes image, other, eight;
    ASSERT_EQ(allocimage(&image, 40, 30, 24), 0);
    ASSERT_EQ(allocDIB(&other, 40, 30, 24), 0);
    ASSERT_EQ(allocDIB(&eight, 40, 30, 8), 0);
    void* file = nullptr;
    BITMAPINFOHEADER info;
    RGBQUAD palette[256];
    ASSERT_EQ(savebmptobuffer(&file, &eight, 0), 0);
    void* saved = nullptr;

    struct Call {
        const char* name;
        std::vector<int> arguments;
        int result;
    };
    const Call calls[] = {
        {"savebmptobuffer", {word(&saved), word(&eight), 1}, 0},
        {"loadbmpfrombuffer", {word(file), word(&eight)}, 0},
        {"bmpinfofrombuffer", {word(file), word(&info)}, 0},
        {"loadbmppalettefrombuffer", {word(file), word(palette)}, 256},
        {"copyimage", {word(&image), word(&other)}, 0},
        {"checkrange_", {word(&image)}, 0},
        {"standardpalette", {word(&eight)}, 256},
        {"updatebitmapcolortable", {word(&image)}, 0},
        {"Orrinversion", {}, ORN32_VERSION_WORD},
        {"printimage", {1, 2, 3, 4, 5, 6, 7}, 0},
    };
    for (int offset = 0; offset < 16; offset += 4) {
        for (const Call& call : calls) {
            int removed;
            int result = callAt(offset, function(call.name), call.arguments, &removed);
            if (std::string(call.name) == "Orrinversion") result &= 0xFFFF;
            EXPECT_EQ(result, call.result) << call.name << " at " << offset;
            EXPECT_EQ(removed, static_cast<int>(4 * call.arguments.size())) << call.name << " at " << offset;
        }
        GlobalFree(GlobalHandle(saved));
    }
    GlobalFree(GlobalHandle(file));
    for (imgdes* each : {&image, &other, &eight}) freeimage(each);
}

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
