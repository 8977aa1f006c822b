// The part of Windows that the library and its tests use, on 32-bit Linux: so that sanitizers and fuzzers, which
// do not exist for the real target, can watch the same sources at work. windows.cpp says how far it goes.
#pragma once

#include <stddef.h>
#include <stdint.h>

#define WINAPI
#define __stdcall
#define __cdecl

typedef int BOOL;
typedef unsigned char BYTE;
typedef uint16_t WORD;
typedef unsigned long DWORD;
typedef unsigned int UINT;
typedef unsigned int SIZE_T;
typedef long LONG;
typedef wchar_t WCHAR;
typedef void* HANDLE;
typedef void* HGLOBAL;
typedef void* HGDIOBJ;
typedef struct HINSTANCE__* HINSTANCE;
typedef HINSTANCE HMODULE;
typedef struct HWND__* HWND;
typedef struct HDC__* HDC;
typedef struct HBITMAP__* HBITMAP;
typedef struct HPALETTE__* HPALETTE;

#define TRUE 1
#define FALSE 0
#define MAX_PATH 260
#define CP_ACP 0
#define INVALID_HANDLE_VALUE ((HANDLE)(intptr_t)-1)
#define INVALID_SET_FILE_POINTER ((DWORD)-1)
#define INVALID_FILE_ATTRIBUTES ((DWORD)-1)

#define HIWORD(value) ((WORD)((DWORD)(value) >> 16))
#define LOWORD(value) ((WORD)(value))

// --- records -------------------------------------------------------------------------------------------------------

struct RECT {
    LONG left, top, right, bottom;
};

struct RGBTRIPLE {
    BYTE rgbtBlue, rgbtGreen, rgbtRed;
};

struct RGBQUAD {
    BYTE rgbBlue, rgbGreen, rgbRed, rgbReserved;
};

struct PALETTEENTRY {
    BYTE peRed, peGreen, peBlue, peFlags;
};

struct BITMAPINFOHEADER {
    DWORD biSize;
    LONG biWidth, biHeight;
    WORD biPlanes, biBitCount;
    DWORD biCompression, biSizeImage;
    LONG biXPelsPerMeter, biYPelsPerMeter;
    DWORD biClrUsed, biClrImportant;
};

struct BITMAPINFO {
    BITMAPINFOHEADER bmiHeader;
    RGBQUAD bmiColors[1];
};

#pragma pack(push, 2)
struct BITMAPFILEHEADER {
    WORD bfType;
    DWORD bfSize;
    WORD bfReserved1, bfReserved2;
    DWORD bfOffBits;
};
#pragma pack(pop)

struct VS_FIXEDFILEINFO {
    DWORD dwSignature, dwStrucVersion, dwFileVersionMS, dwFileVersionLS;
};

struct OVERLAPPED;
struct SECURITY_ATTRIBUTES;

struct CRITICAL_SECTION {
    void* mutex;
};

struct MEMORY_BASIC_INFORMATION {
    void *BaseAddress, *AllocationBase;
    UINT RegionSize;
    DWORD State, Protect;
};

#define BI_RGB 0
#define BI_RLE8 1
#define BI_RLE4 2
#define BI_BITFIELDS 3

// --- memory and pointers -------------------------------------------------------------------------------------------

#define GMEM_MOVEABLE 2
#define GMEM_ZEROINIT 0x40
HGLOBAL GlobalAlloc(UINT flags, UINT size);
void* GlobalLock(HGLOBAL handle);
BOOL GlobalUnlock(HGLOBAL handle);
HGLOBAL GlobalHandle(const void* block);
UINT GlobalSize(HGLOBAL handle);
HGLOBAL GlobalFree(HGLOBAL handle);

BOOL IsBadReadPtr(const void* p, UINT count);

#define MEM_COMMIT 0x1000
#define MEM_RESERVE 0x2000
#define MEM_RELEASE 0x8000
#define PAGE_NOACCESS 1
#define PAGE_READWRITE 4
#define PAGE_GUARD 0x100
void* VirtualAlloc(void* address, UINT size, DWORD type, DWORD protection);
BOOL VirtualFree(void* address, UINT size, DWORD type);
BOOL VirtualLock(void* address, UINT size);
BOOL VirtualUnlock(void* address, UINT size);
UINT VirtualQuery(const void* address, MEMORY_BASIC_INFORMATION* info, UINT size);

#include <malloc.h>
#define _msize(block) malloc_usable_size(block)

// --- files ---------------------------------------------------------------------------------------------------------

#define GENERIC_READ 0x80000000ul
#define GENERIC_WRITE 0x40000000ul
#define FILE_SHARE_READ 1
#define CREATE_ALWAYS 2
#define OPEN_EXISTING 3
#define FILE_ATTRIBUTE_NORMAL 0x80
#define FILE_BEGIN 0
#define FILE_CURRENT 1
#define FILE_END 2
HANDLE CreateFileA(const char* name, DWORD access, DWORD share, SECURITY_ATTRIBUTES*, DWORD disposition, DWORD, HANDLE);
HANDLE CreateFileW(const WCHAR* name, DWORD access, DWORD share, SECURITY_ATTRIBUTES*, DWORD disposition, DWORD,
                   HANDLE);
BOOL ReadFile(HANDLE file, void* destination, DWORD count, DWORD* bytesRead, OVERLAPPED*);
BOOL WriteFile(HANDLE file, const void* source, DWORD count, DWORD* bytesWritten, OVERLAPPED*);
DWORD SetFilePointer(HANDLE file, LONG distance, LONG* high, DWORD method);
BOOL SetEndOfFile(HANDLE file);
DWORD GetFileSize(HANDLE file, DWORD* high);
BOOL CloseHandle(HANDLE file);
BOOL DeleteFileA(const char* name);
BOOL DeleteFileW(const WCHAR* name);
DWORD GetFileAttributesA(const char* name);
DWORD GetTempPathA(DWORD size, char* folder);
DWORD GetTempPathW(DWORD size, WCHAR* folder);
UINT GetTempFileNameW(const WCHAR* folder, const WCHAR* prefix, UINT unique, WCHAR* name);

// --- process, locks, versions --------------------------------------------------------------------------------------

void InitializeCriticalSection(CRITICAL_SECTION*);
void DeleteCriticalSection(CRITICAL_SECTION*);
void EnterCriticalSection(CRITICAL_SECTION*);
void LeaveCriticalSection(CRITICAL_SECTION*);
void* InterlockedCompareExchangePointer(void** target, void* exchange, void* comparand);

LONG InterlockedExchangeAdd(LONG volatile* target, LONG value);

struct SLIST_ENTRY {
    struct SLIST_ENTRY* Next;
};
struct SLIST_HEADER {
    SLIST_ENTRY* first;
};
SLIST_ENTRY* InterlockedPushEntrySList(SLIST_HEADER* list, SLIST_ENTRY* entry);
SLIST_ENTRY* InterlockedPopEntrySList(SLIST_HEADER* list);

HMODULE GetModuleHandle(const WCHAR* name);
DWORD GetCurrentProcessId(void);
HANDLE GetCurrentProcess(void);
DWORD GetVersion(void);
DWORD GetModuleFileNameA(HMODULE module, char* name, DWORD size);
DWORD GetFileVersionInfoSizeA(const char* name, DWORD* handle);
BOOL GetFileVersionInfoA(const char* name, DWORD handle, DWORD size, void* block);
BOOL VerQueryValueA(const void* block, const char* path, void** value, UINT* length);
int MultiByteToWideChar(UINT page, DWORD flags, const char* text, int count, WCHAR* wide, int size);

// --- bitmaps and palettes ------------------------------------------------------------------------------------------

#define DIB_RGB_COLORS 0
#define DEFAULT_PALETTE 15
#define GR_GDIOBJECTS 0
HWND GetDesktopWindow(void);
HDC GetDC(HWND window);
int ReleaseDC(HWND window, HDC dc);
HDC CreateCompatibleDC(HDC dc);
BOOL DeleteDC(HDC dc);
HGDIOBJ SelectObject(HDC dc, HGDIOBJ object);
BOOL DeleteObject(HGDIOBJ object);
HGDIOBJ GetStockObject(int which);
HBITMAP CreateDIBSection(HDC dc, const BITMAPINFO* info, UINT usage, void** bits, HANDLE section, DWORD offset);
UINT SetDIBColorTable(HDC dc, UINT first, UINT count, const RGBQUAD* colours);
UINT GetDIBColorTable(HDC dc, UINT first, UINT count, RGBQUAD* colours);
HPALETTE CreateHalftonePalette(HDC dc);
UINT GetPaletteEntries(HPALETTE palette, UINT first, UINT count, PALETTEENTRY* entries);
DWORD GetGuiResources(HANDLE process, DWORD which);
