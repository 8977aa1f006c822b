/*
 * orn32: load, save, convert, process and show pictures held as ordinary Windows bitmaps (DIBs).
 *
 * Plain C functions with the standard Windows calling convention, for any 32-bit Windows compiler and any
 * language that can call a DLL. Link with liborn32.dll.a (MinGW) or orn32.lib (Microsoft's linker), or load
 * orn32.dll at run time: the exported names are undecorated.
 *
 * Every picture is described by an imgdes record that the caller owns. Most functions work on the record's
 * image area (left, top, right, bottom: inclusive pixel coordinates, row 0 at the top of the picture) and
 * return 0 or a negative result code; see the ERR_ names below. Nothing is ever thrown at the caller.
 *
 *     imgdes image;
 *     BITMAPINFOHEADER info;
 *     if (bmpinfo("in.bmp", &info) == 0
 *         && allocimage(&image, info.biWidth, info.biHeight, info.biBitCount) == 0) {
 *         loadbmp("in.bmp", &image);
 *         savebmp("out.bmp", &image, 0);
 *         freeimage(&image);
 *     }
 *
 * Threads. Any thread may call any function, as long as no two use the same image at once, one of them changing
 * it. Some calls wait for one another; a line "Locks:" in a function's description names the locks that it takes:
 *   bmp, gif, jpeg, png    from the check of the arguments to the end of a call that reads or writes that format
 *   cover, coverclear      for as much of the function of that name
 *   matching               while pixels are matched to a palette
 * Functions without such a line take none. All frombuffer and tobuffer functions also take one for an instant
 * (streams), inside their format's. No call waits for a lock while it holds matching or streams, and whatever its
 * result it leaves none taken.
 *
 * Wide variants (name ending in W) take a UTF-16 file name and are otherwise like the narrow function. The
 * frombuffer variants read from memory, the tobuffer variants hand back a new memory block (see
 * "Memory" below).
 */
#ifndef ORN32_H
#define ORN32_H

#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

#define ORNAPI __stdcall

/* The version of this header and of the library it belongs to; what is loaded is told by Orrinversionex. */
#define ORN32_VERSION "1.0.0.1"

/* ---- Result codes ------------------------------------------------------------------------------------- */

#define ERR_RANGE (-1)         /* image area or size out of range, or a needed pointer missing */
#define ERR_WRITE (-3)         /* the output file could not be written whole (disk full) */
#define ERR_OPEN (-4)          /* the input file or buffer could not be opened */
#define ERR_ARGUMENT (-5)      /* a numeric argument outside its allowed range */
#define ERR_UNSUPPORTED (-9)   /* a variant of the file format that is not handled */
#define ERR_CREATE (-10)       /* the output file could not be created */
#define ERR_COMPRESSED (-12)   /* the image's header says that its pixels are compressed */
#define ERR_MEMORY (-14)       /* memory, a device context or a DIB section could not be had */
#define ERR_NO_DATA (-15)      /* a JPEG stream without image data, or without a stored thumbnail */
#define ERR_BAD_GIF (-17)      /* not a GIF, or nothing usable in its first frame */
#define ERR_BITS (-26)         /* bits per pixel not supported by the operation */
#define ERR_FORMAT (-27)       /* not a file of the expected format */
#define ERR_BAD_BUFFER (-42)   /* the image's pixel buffer is not readable */
#define ERR_BAD_JPEG (-43)     /* not a JPEG stream, or a variant that is not decoded */
#define ERR_SOURCE_BUFFER (-52) /* an input buffer is not readable */
#define ERR_LZW_CODE (-53)     /* GIF image data with string codes */
#define ERR_TRUNCATED (-62)    /* compressed data ends or breaks before its end mark */
#define ERR_PNG (-63)          /* any PNG failure; pnggeterror tells which */
#define ERR_ZLIB (-64)         /* the deflate compressor failed while a PNG was written */
#define ERR_THUMB_SIZE (-70)   /* a JPEG thumbnail does not fit into one segment */
#define ERR_NO_FRAME (-71)     /* no such GIF frame, or no comment in the file */
#define ERR_TOO_LARGE (-73)    /* image area of 65536 or more pixels in one direction */

/* ---- The image record --------------------------------------------------------------------------------- */

/*
 * An image: a BITMAPINFOHEADER, its palette directly behind it, and bottom-up pixel rows padded to 4 bytes.
 * Picture row y (0 = top) lies at bits + (header->biHeight - 1 - y) * rowbytes. 1-bit pixels are packed with
 * the leftmost in the highest bit, 8-bit pixels are palette indices, 16-bit pixels are grey levels, 24-bit
 * pixels are blue, green, red.
 */
typedef struct imgdes {
    unsigned char *bits;      /* first byte of the pixel rows: the bottom row of the picture */
    UINT left;                /* the image area, inclusive on all sides */
    UINT top;
    UINT right;
    UINT bottom;
    UINT rowbytes;            /* bytes per row: ((width * bits per pixel + 31) & ~31) / 8 */
    RGBQUAD *palette;         /* the palette, directly behind the header */
    int palcolors;            /* palette entries in use */
    UINT imgkind;             /* bit 0: greyscale; 1 for a 16-bit image */
    BITMAPINFOHEADER *header; /* start of the image block */
    HBITMAP hbitmap;          /* DIB section that owns the pixel rows, or 0 */
} imgdes;

/* ---- Image model -------------------------------------------------------------------------------------- */

/*
 * Allocates an image and describes it in *image, its area the whole picture. Pixels are 0; 1- and 8-bit images
 * get a grey palette. The pixel rows go into a DIB section (hbitmap), which GDI can draw from, except on systems
 * older than Windows NT 3.5.
 *   width, height  in pixels, 1 or more
 *   bits           1, 8, 16 (grey) or 24; 4 is taken as 8
 * Free with freeimage. On failure the record is cleared.
 * Returns 0, ERR_BITS, ERR_RANGE (zero width or height; null record), ERR_MEMORY.
 */
int ORNAPI allocimage(imgdes *image, UINT width, UINT height, UINT bits);

/* Like allocimage, but header, palette and rows always share one block: a packed DIB for other programs. */
int ORNAPI allocDIB(imgdes *image, UINT width, UINT height, UINT bits);

/*
 * Releases an image of allocimage or allocDIB and clears the record. A record whose header is not readable is
 * left as it is. Install no other memory functions between allocating and freeing an image.
 */
void ORNAPI freeimage(imgdes *image);

/* Copies the whole record; the pixels are shared, not copied, and must be freed through one record only. */
void ORNAPI copyimgdes(const imgdes *source, imgdes *destination);

/* Sets every field of the record to 0. */
void ORNAPI zeroimgdes(imgdes *image);

/*
 * Describes a packed DIB (header, palette, bottom-up rows in one block) without copying it. Its palette holds
 * biClrUsed entries, or 2 to the power of the bit count where that is 0 (none from 16 bits up).
 * Returns 0, ERR_BITS (4 bits per pixel), ERR_COMPRESSED; on failure only the header field is set.
 */
int ORNAPI setupimgdes(BITMAPINFOHEADER *header, imgdes *image);

/* Stores the four values as the image area, inclusive pixel coordinates, unchecked. */
void ORNAPI setimagearea(imgdes *image, UINT left, UINT top, UINT right, UINT bottom);

/* Copies the image area to a RECT, and back. The right and bottom edges stay inclusive, unlike GDI's. */
void ORNAPI imageareatorect(const imgdes *image, RECT *rect);
void ORNAPI recttoimagearea(const RECT *rect, imgdes *image);

/*
 * The argument check that nearly every operation runs first: checkrange_ allows 8 and 24 bits per pixel,
 * checkrange1_ also 1, checkrange16_ also 1 and 16. Swapped edges are put right in the caller's record.
 * Images are at most 32768 pixels wide and high (1-bit: 65535 wide).
 * Returns 0, ERR_BAD_BUFFER (pixels not readable), ERR_RANGE, ERR_COMPRESSED, ERR_BITS, in this order.
 */
int ORNAPI checkrange_(imgdes *image);
int ORNAPI checkrange1_(imgdes *image);
int ORNAPI checkrange16_(imgdes *image);

/*
 * Gives a 1- or 8-bit image the grey palette from black to white, sets palcolors and the grey mark, and
 * updates a DIB section's colours. A 16-bit image only gets its grey mark; 24-bit images are left alone.
 */
void ORNAPI CreateDefaultPalette_(imgdes *image);

/* 1 if the palette is exactly the default grey one for the bit count (or a marked 16-bit image), else 0. */
int ORNAPI isgrayscaleimage(const imgdes *image);

/* Copies the palette into the DIB section's colour table, if there are both. Returns 0 or ERR_MEMORY. */
int ORNAPI updatebitmapcolortable(imgdes *image);

/*
 * Fill the palette of an 8-bit image with the system's 16 standard colours, or with its halftone palette.
 * Reserved bytes, further entries and biClrUsed stay as they are; never more entries than the image has room
 * for. Return the number of entries written, which becomes palcolors; 0 if the image is not 8-bit.
 */
int ORNAPI defaultpalette(imgdes *image);
int ORNAPI standardpalette(imgdes *image);

/* ---- Copy --------------------------------------------------------------------------------------------- */

/*
 * Copies pixels between the areas of two images of the same bit count (1, 8 or 24), from the top-left corner of
 * both, as many rows and columns as both have; then the palette. The areas may overlap within one image.
 * Nothing outside the destination's area changes.
 * Returns 0, ERR_BAD_BUFFER, ERR_RANGE, ERR_COMPRESSED, ERR_BITS (not 1, 8, 24, or not the same), ERR_MEMORY.
 */
int ORNAPI copyimage(imgdes *source, imgdes *destination);

/* Like copyimage, but without the palette. */
int ORNAPI copyimagebits(imgdes *source, imgdes *destination);

/*
 * Copies the palette only, with its count and grey mark, and updates a DIB section's colours. Nothing happens
 * unless both images have a palette and at most 8 bits. At most as many entries as the destination's header
 * counts. Returns 0.
 */
int ORNAPI copyimagepalette(const imgdes *source, imgdes *destination);

/* ---- Display ------------------------------------------------------------------------------------------ */

/*
 * Draws the picture into a window's client area: picture point (x, y), counted from the top left, comes to the
 * client area's top-left corner. The image area plays no part; what lies outside the picture is left as it is.
 *   window   whose client area limits what is drawn
 *   dc       where to draw, in pixels and with its origin at that area's corner
 *   palette  gets a new logical palette of the image's colours, or 0 if it has none (24 bits); the caller
 *            deletes it (DeleteObject) when it is no longer realised. It is selected and realised for drawing,
 *            and dc has its own palette back afterwards. Null if the caller does not want it.
 * A packed image's header is changed during the call, so no other thread may use the image meanwhile. An image
 * without colours in its palette (palcolors 0) gets the default grey ones.
 * Returns 0, also when nothing of the picture is visible; ERR_MEMORY (nothing is drawn), ERR_RANGE (null
 * record, header or bits).
 */
int ORNAPI viewimage(HWND window, HDC dc, HPALETTE *palette, int x, int y, imgdes *image);

/*
 * Like viewimage, but picture point (x, y) comes to client point (screenx, screeny); all of the picture that is
 * visible then is drawn. Where dc has too few colours (24-bit images at 8 bits per pixel; images of 8 bits or
 * more at up to 4, unless their palette has 1 to 16 colours), the visible part is reduced first, and *palette
 * gets the colours of that.
 *   mode     how to reduce: 0 the 256 colours that suit it best (at 8 bits; else like 1), 2 colorscatter,
 *            other values colordither
 * Returns the codes of viewimage and of the reduction.
 * Locks: matching, where mode 0 reduces.
 */
int ORNAPI viewimageex(HWND window, HDC dc, HPALETTE *palette, int x, int y, imgdes *image, int screenx,
                       int screeny, int mode);

/* ---- Memory, versions --------------------------------------------------------------------------------- */

typedef void *(__cdecl *ornalloc)(UINT size);               /* a block of size bytes, or null */
typedef void *(__cdecl *orncalloc)(UINT count, UINT size);  /* count * size bytes, all zero, or null */
typedef void(__cdecl *ornfree)(void *block);

/*
 * Memory. Image blocks and the buffers of the tobuffer functions come from moveable global memory: release a
 * buffer with GlobalFree(GlobalHandle(p)) after GlobalUnlock. Working memory comes from the C runtime.
 * This call replaces all of it by five functions of the caller's: two allocations, two counted and cleared
 * allocations, and the release of what any of the four gave; buffers are then released with the caller's own
 * function. Five nulls switch images and buffers back to global memory, while working memory stays with the
 * functions given last.
 * Call it before any other thread uses the library, and not while images of the other kind are alive.
 * The functions' blocks must also be fit for the C runtime's free(): the version queries release theirs so.
 */
void ORNAPI InitializeLibrary(ornalloc alloc1, ornalloc alloc2, orncalloc calloc1, orncalloc calloc2,
                              ornfree release);

/* The library's version, major << 8 | minor; 0 if its version resource cannot be read. */
WORD ORNAPI Orrinversion(void);

/* Like Orrinversion; words[0] gets the version, words[1] the build number, one decimal digit in 4 bits each. */
WORD ORNAPI Orrinversionex(WORD words[2]);

/* Like Orrinversion; copies the date text "Jun 17 2004, 16:33:13" with its terminator, 22 characters, or as
 * many of them as size allows (then without a terminator). */
WORD ORNAPI Orrinversiondate(char *buffer, int size);
WORD ORNAPI OrrinversiondateW(WCHAR *buffer, int size);

/* Printing is not provided: does nothing and returns 0, whatever it is given. */
int ORNAPI printimage(long a1, long a2, long a3, long a4, long a5, long a6, long a7);

/* ---- Palettes and RGB --------------------------------------------------------------------------------- */

/*
 * Operations on two images work on what both areas have, from the top-left corner of each; no pixel outside that
 * changes. Source and destination may be the same image where their bit counts allow it.
 */

/*
 * Maps a 24-bit image to an 8-bit one with a palette of its own, made by median cut.
 *   colors  2 to 256; palette entries for which the picture has too few colours repeat entry 0
 *   mode    how pixels are matched to the palette, as for matchcolorimageex
 * The destination's palette and palcolors are replaced, its grey mark is cleared and a DIB section's colours are
 * updated, these two also when matching fails.
 * Returns 0, the codes of checkrange_, ERR_BITS (not 24 to 8 bits), ERR_RANGE (no palette, or one with room for
 * fewer colours), ERR_ARGUMENT (colors, mode), ERR_MEMORY.
 * Locks: matching.
 */
int ORNAPI convertrgbtopalex(int colors, imgdes *source, imgdes *destination, int mode);

/* Like convertrgbtopalex with mode 2. Locks: matching. */
int ORNAPI convertrgbtopal(int colors, imgdes *source, imgdes *destination);

/*
 * Expands an 8-bit image to a 24-bit one through its palette. Pixels beyond palcolors take what their palette
 * slot holds. Returns 0, the codes of checkrange_, ERR_BITS (not 8 to 24 bits), ERR_RANGE (no palette),
 * ERR_MEMORY.
 */
int ORNAPI convertpaltorgb(imgdes *source, imgdes *destination);

/* ---- Colour matching ---------------------------------------------------------------------------------- */

/*
 * Maps an 8- or 24-bit image to the palette of an 8-bit one; that palette does not change.
 *   mode  0: near colours by octree; 1: the same with Floyd-Steinberg error diffusion;
 *         2: the nearest colours by search along one channel; 3: the same with error diffusion
 * Colours that share the upper 5 bits of all channels all get the index found for the first of them, rows being
 * taken from the top and pixels from the left.
 * Returns 0, the codes of checkrange_, ERR_BITS (destination not 8-bit), ERR_RANGE (a palette missing, palcolors
 * 0, or more than 256 in the destination), ERR_ARGUMENT (mode), ERR_MEMORY.
 * Locks: matching.
 */
int ORNAPI matchcolorimageex(imgdes *source, imgdes *destination, int mode);

/* Like matchcolorimageex with mode 1. Locks: matching. */
int ORNAPI matchcolorimage(imgdes *source, imgdes *destination);

/*
 * Maps an 8-bit image to fewer colours, destination->palcolors of them, chosen from the source's palette: the
 * most frequent ones that are far enough apart. Both images must be 8-bit.
 *   mode  as for matchcolorimageex
 * The destination's palette is replaced and its grey mark cleared even if matching fails.
 * Returns 0, the codes of checkrange_, ERR_BITS, ERR_RANGE (a palette missing; palcolors outside 2 to 255, more
 * than the source has, or more than there is room for), ERR_ARGUMENT (mode), ERR_MEMORY.
 * Locks: matching.
 */
int ORNAPI reduceimagecolors(imgdes *source, imgdes *destination, int mode);

/* ---- Histograms and grey ------------------------------------------------------------------------------ */

/*
 * Counts the levels of an area into tables of 256 counters, which are cleared first: red, green and blue of a
 * 24-bit image; of an 8-bit image the indices, into redtab alone, unless colorflag is not 0 and the image has no
 * grey mark, when the colours of its palette are counted.
 * Returns 0, the codes of checkrange_, ERR_RANGE (a table that is needed is null, or there is no palette; redtab
 * is cleared all the same), ERR_MEMORY.
 */
int ORNAPI calchistorgb(imgdes *image, long *redtab, long *greentab, long *bluetab, int colorflag);

/* Like calchistorgb with colorflag 0. */
int ORNAPI calchisto(imgdes *image, long *redtab, long *greentab, long *bluetab);

/*
 * Turns an 8- or 24-bit image into an 8-bit grey one, (30 red + 59 green + 11 blue) / 100 rounded down, and gives
 * it the grey palette. Pixels of an 8-bit image beyond its palcolors become 0.
 * Returns 0, the codes of checkrange_, ERR_BITS (destination not 8-bit), ERR_RANGE (8-bit source without a
 * palette).
 */
int ORNAPI colortogray(imgdes *source, imgdes *destination);

/*
 * Between 16-bit and 8-bit grey: the high byte is taken, or the byte is repeated. Palettes stay.
 * Returns 0, the codes of checkrange16_, ERR_BITS when neither image has its bit count. One wrong bit count
 * alone passes: pixels of one and two bytes are then read and written in a row regardless of it, from the column
 * left times the whole bytes of a pixel, as far as the image's memory goes.
 */
int ORNAPI convertgray16to8(imgdes *source, imgdes *destination);
int ORNAPI convertgray8to16(imgdes *source, imgdes *destination);

/* ---- Dithering, black and white ----------------------------------------------------------------------- */

/*
 * Reduce an 8- or 24-bit image to one of two fixed palettes, by an ordered 8 x 8 matrix or by Floyd-Steinberg
 * error diffusion, and give the 8-bit destination that palette.
 *   cube  0: black, white and the six pure colours, which lie in the palette of defaultpalette;
 *         else 6 x 6 x 6 colours in the entries 10 to 225, from white down to black in steps of 51, with blue
 *         counting fastest. Entries 226 to 245 are greys, the others the system's 20 colours.
 * The destination's grey mark is cleared and a DIB section's colours are updated. On failure nothing changes.
 * Returns 0, the codes of checkrange_, ERR_BITS (destination not 8-bit), ERR_RANGE (a palette missing, or the
 * destination's too small), ERR_MEMORY.
 */
int ORNAPI colordither(imgdes *source, imgdes *destination, int cube);
int ORNAPI colorscatter(imgdes *source, imgdes *destination, int cube);

/*
 * Turns an 8-bit image into a 1-bit one of black and white and gives it that palette. Colours count as their
 * grey levels (see colortogray).
 *   mode  0: Stucki error diffusion; 1: ordered dither; any other: white from level 128 on
 * Returns 0, the codes of checkrange1_, ERR_BITS (not 8 to 1 bit), ERR_RANGE (source without a palette),
 * ERR_MEMORY.
 */
int ORNAPI convert8bitto1bit(int mode, imgdes *source, imgdes *destination);

/*
 * Turns a 1-bit image into an 8-bit grey one: clear bits become 0, set ones 255, whatever the 1-bit palette is.
 * The smooth variant mixes every pixel but the first and last of a row with its two neighbours in the row.
 * Returns 0, the codes of checkrange1_, ERR_BITS (not 1 to 8 bits); smooth: ERR_RANGE (fewer than 3 columns).
 */
int ORNAPI convert1bitto8bit(imgdes *source, imgdes *destination);
int ORNAPI convert1bitto8bitsmooth(imgdes *source, imgdes *destination);

/* ---- Filters ------------------------------------------------------------------------------------------ */

/*
 * Filters make each pixel of the destination's area from the pixels around its place in the source's area;
 * beyond the area's edges its border pixels repeat. Source and destination may be the same image and have the
 * same bit count. An 8-bit image with a colour palette is filtered as colours, and the whole destination
 * picture is given a new palette of 256 colours.
 */

/*
 * Make pixels the darkest (dilate: dark parts grow) or the brightest (erode: dark parts shrink) of the 3 x 3
 * around them.
 *   amount  0 to 255, how much: pixels stay where the mean of the nine is above amount (dilate), or below 255 -
 *           amount (erode). For 1-bit images the share of set bits among the nine decides in the same way.
 * Returns 0, ERR_ARGUMENT, the codes of checkrange1_, ERR_BITS (bit counts differ), ERR_RANGE (area smaller than
 * 3 x 3), ERR_MEMORY, for a palette image also those of convertrgbtopalex.
 * Locks: matching, for an image with a colour palette.
 */
int ORNAPI dilate(int amount, imgdes *source, imgdes *destination);
int ORNAPI erode(int amount, imgdes *source, imgdes *destination);

/*
 * Makes each pixel the median of the size x size pixels around it; of colours, one with the median brightness.
 *   size  3 to 11; an even size counts as the next smaller one
 * Returns 0, ERR_ARGUMENT, the codes of checkrange_, ERR_BITS (bit counts differ), ERR_RANGE (area smaller than
 * size x size), ERR_MEMORY, for a palette image also those of convertrgbtopalex.
 * Locks: matching, for an image with a colour palette.
 */
int ORNAPI medianfilter(int size, imgdes *source, imgdes *destination);

/* Like medianfilter with size 3. Locks: matching, for an image with a colour palette. */
int ORNAPI removenoise(imgdes *source, imgdes *destination);

/* ---- Hue, overlays, blocks ---------------------------------------------------------------------------- */

/*
 * Convert count colours between 4-byte elements blue, green, red, reserved and 3-byte elements hue, saturation,
 * value. Hue 0 to 255 stands for the full circle from red over green (85) and blue (171); saturation 255 is
 * full; value is the largest of red, green and blue. The reserved byte is neither read nor written. Nothing
 * happens for a count of 0 or less.
 */
void ORNAPI rgb2hsv(const unsigned char *rgb, unsigned char *hsv, int count);
void ORNAPI hsv2rgb(const unsigned char *hsv, unsigned char *rgb, int count);

/*
 * Copies the source's area and replaces its square blocks, from the top-left, by their mean colour; columns and
 * rows at the right and bottom that do not fill a block stay as copied. An 8-bit image with a colour palette is
 * given a new palette for the whole destination picture.
 *   blocksize  2 to 63, and no more than the smaller side of the area
 * Returns 0, the codes of copyimage, ERR_ARGUMENT, for a palette image also those of convertrgbtopalex.
 * Locks: matching, for an image with a colour palette.
 */
int ORNAPI pixellize(int blocksize, imgdes *source, imgdes *destination);

/*
 * Lays the image over on the image under, all three images of 8 or all of 24 bits. cover keeps the pixels of
 * over that are brighter than level (0 to 255; of 24-bit pixels the sum of the channels against 3 * level);
 * coverclear keeps those that are not of the colour clearcolor (blue << 16 | green << 8 | red; of 8-bit pixels its
 * low byte). Everywhere else under shows. Palette images are decided channel by channel, and the whole
 * result picture gets a new palette. The result may be one of the other two.
 * Returns 0, ERR_ARGUMENT (level, clearcolor), the codes of checkrange_, ERR_BITS (bit counts differ), ERR_RANGE
 * (a palette missing), ERR_MEMORY, and convertrgbtopalex's.
 * Locks: cover takes cover, coverclear takes coverclear; then matching, for palette images.
 */
int ORNAPI cover(int level, imgdes *under, imgdes *over, imgdes *result);
int ORNAPI coverclear(int clearcolor, imgdes *under, imgdes *over, imgdes *result);

/* ---- BMP ---------------------------------------------------------------------------------------------- */

/*
 * Loads a Windows bitmap into the area of an allocated image: the file's bottom-left part, as many rows and
 * columns as both have. The image's bit count must be the file's, with 4-bit files going into 8-bit images and
 * 16- and 32-bit files into 24-bit ones. Also reads OS/2 headers, top-down files, RLE8 and RLE4 (no deltas) and
 * bit fields. The palette, its count and the grey mark follow the file.
 * A file that ends early gives 0 and leaves the rows it does not reach as they were.
 * Returns 0, the codes of checkrange1_, ERR_OPEN, ERR_FORMAT (no bitmap), ERR_BITS (wrong image for this file),
 * ERR_UNSUPPORTED (compression or bit count), ERR_MEMORY; from a buffer also ERR_SOURCE_BUFFER (its first 100
 * bytes are not readable).
 * Locks: bmp.
 */
int ORNAPI loadbmp(const char *name, imgdes *image);
int ORNAPI loadbmpW(const WCHAR *name, imgdes *image);
int ORNAPI loadbmpfrombuffer(const void *buffer, imgdes *image);

/*
 * Reads a bitmap's palette into the caller's 256 entries. Returns the number of entries stored (0 for files of
 * 16 bits and more), or ERR_SOURCE_BUFFER, ERR_OPEN, ERR_FORMAT, ERR_MEMORY.
 * Locks: bmp.
 */
int ORNAPI loadbmppalette(const char *name, RGBQUAD *palette);
int ORNAPI loadbmppaletteW(const WCHAR *name, RGBQUAD *palette);
int ORNAPI loadbmppalettefrombuffer(const void *buffer, RGBQUAD *palette);

/*
 * Saves the area of a 1-, 8- or 24-bit image; rle not 0 writes run lengths (8-bit images only). A failed save
 * leaves no file. The buffer form stores a new block in *buffer (see InitializeLibrary), null on failure.
 * Returns 0, the codes of checkrange1_, ERR_CREATE, ERR_UNSUPPORTED (rle on an image that is not 8-bit),
 * ERR_WRITE (disk full), ERR_MEMORY.
 * Locks: bmp.
 */
int ORNAPI savebmp(const char *name, imgdes *image, int rle);
int ORNAPI savebmpW(const WCHAR *name, imgdes *image, int rle);
int ORNAPI savebmptobuffer(void **buffer, imgdes *image, int rle);

/*
 * Reads a bitmap's header, with colour counts and image size filled in and the height made positive; OS/2
 * headers are widened. Returns 0, ERR_SOURCE_BUFFER, ERR_OPEN, ERR_FORMAT.
 * Locks: bmp.
 */
int ORNAPI bmpinfo(const char *name, BITMAPINFOHEADER *info);
int ORNAPI bmpinfoW(const WCHAR *name, BITMAPINFOHEADER *info);
int ORNAPI bmpinfofrombuffer(const void *buffer, BITMAPINFOHEADER *info);

/* ---- PNG ---------------------------------------------------------------------------------------------- */

/*
 * What a PNG file says of itself. Fields whose chunk the file does not have are 0.
 */
typedef struct PngInfo {
    UINT width;        /* in pixels */
    UINT height;
    UINT bitdepth;     /* bits per sample: 1, 2, 4, 8, 16 */
    UINT dibbits;      /* bits per pixel of the image to load into: 1, 8 or 24 */
    UINT colortype;    /* 0 grey, 2 RGB, 3 palette, 4 grey and alpha, 6 RGB and alpha */
    UINT interlaced;   /* 1 if interlaced */
    UINT formatindex;  /* 0 to 14: the pair of colortype and bitdepth, in ascending order */
    UINT channels;     /* samples per pixel */
    UINT bitsperpixel; /* bitdepth * channels */
    UINT rowbytes;     /* bytes per row in the file; 0xFFFFFFFF if more */
    UINT hastrns;      /* 1 if the file names transparent colours (tRNS) */
    WORD trns[4];      /* palette: [0] is the first index of the lowest alpha; else the samples of the colour */
    UINT trnslen;      /* palette: 1; else the bytes of trns in use */
    UINT hasbkgd;      /* 1 if the file names a background colour (bKGD) */
    WORD bkgd[4];      /* palette: [0] is the index; else the samples of the colour */
    UINT bkgdlen;      /* the bytes of bkgd in use */
    UINT gamma;        /* gamma * 100000 (gAMA) */
    UINT xres;         /* pixels per unit (pHYs) */
    UINT yres;
    UINT resunit;      /* low byte: 1 metre, 0 unknown; the upper 24 bits are those of yres */
    BYTE sbit[4];      /* significant bits of each sample (sBIT) */
    int xoffset;       /* where the picture lies on a page (oFFs) */
    int yoffset;
    UINT offsetunit;   /* 0 pixels, 1 micrometres */
} PngInfo;

/*
 * Reads what a PNG file says of itself, checking all chunks but the compressed pixels. After a failure that is
 * not ERR_OPEN the record holds what was found in front of the fault. A file without its header chunk gives 0
 * and a record of zeros.
 * Returns 0, ERR_OPEN, ERR_PNG (see pnggeterror), ERR_MEMORY.
 * Locks: png.
 */
int ORNAPI pnginfo(const char *name, PngInfo *info);
int ORNAPI pnginfoW(const WCHAR *name, PngInfo *info);
int ORNAPI pnginfofrombuffer(const void *buffer, PngInfo *info);

/*
 * Reads the resolution: xres, yres and resunit of PngInfo, stored only on success. Returns like pnginfo.
 * Locks: png.
 */
int ORNAPI pnggetxyresolution(const char *name, int *x, int *y, int *unit);
int ORNAPI pnggetxyresolutionW(const WCHAR *name, int *x, int *y, int *unit);

/*
 * Loads a PNG into the area of an allocated image of PngInfo's dibbits: the picture's top-left part, as many
 * rows and columns as both have. All colour types and depths, interlaced or not; of 16-bit samples the upper
 * byte is kept, grey of 2 and 4 bits is spread to the whole range, alpha is dropped. A palette file's colours
 * go to the image's palette, as many as it has room for; a grey file's image gets the default grey palette. A
 * 24-bit image has no palette colours afterwards.
 * After a failure, rows in front of the fault may have been stored; the palette has not changed. Of rows below
 * the area at most 64 MB are checked.
 * Returns 0, the codes of checkrange1_, ERR_OPEN, ERR_PNG (see pnggeterror), ERR_BITS (not an image of dibbits;
 * nothing is stored), ERR_MEMORY.
 * Locks: png.
 */
int ORNAPI loadpng(const char *name, imgdes *image);
int ORNAPI loadpngW(const WCHAR *name, imgdes *image);
int ORNAPI loadpngfrombuffer(const void *buffer, imgdes *image);

/*
 * Reads a palette file's colours into the caller's 256 entries. Returns the number of entries stored, 0 for
 * files of other kinds, or a code of pnginfo.
 * Locks: png.
 */
int ORNAPI loadpngpalette(const char *name, RGBQUAD *palette);
int ORNAPI loadpngpaletteW(const WCHAR *name, RGBQUAD *palette);
int ORNAPI loadpngpalettefrombuffer(const void *buffer, RGBQUAD *palette);

/*
 * Reads the file's first uncompressed comment (tEXt) under a keyword such as "Title" or "Author", compared
 * letter by letter. With a null buffer returns the room needed, the text's length and 1, or 0 if there is no such
 * comment. Otherwise copies the text, cut to length - 1 characters, with a terminating zero (an empty text if
 * there is no such comment) and returns 0. Failures as with pnginfo.
 * Locks: png.
 */
int ORNAPI getpngcomment(const char *name, const char *keyword, char *buffer, int length);
int ORNAPI getpngcommentW(const WCHAR *name, const char *keyword, char *buffer, int length);

/*
 * Saves the area of a 1-, 8- or 24-bit image: 24 bits as RGB, 8 bits with the grey mark (bit 0 of imgkind) as
 * grey, other images with their palette of palcolors colours. A failed save leaves no file. The buffer form
 * stores a new block in *buffer (see InitializeLibrary), null on failure.
 *   options  bit 0: interlaced; bits 1 to 3, the row filter of RGB and grey files: 0 the best for each row,
 *            2 none, 4 Sub, 6 Up, 8 Average, 10 Paeth. Palette files, and options below 0 or above 11: none
 * Returns 0, the codes of checkrange1_, ERR_CREATE, ERR_WRITE (disk full), ERR_MEMORY, ERR_ZLIB.
 * Locks: png.
 */
int ORNAPI savepng(const char *name, imgdes *image, int options);
int ORNAPI savepngW(const WCHAR *name, imgdes *image, int options);
int ORNAPI savepngtobuffer(void **buffer, imgdes *image, int options);

/*
 * Sets the resolution that the next PNG file is saved with: pixels per unit in both directions, and the unit, of
 * which only 0 (unknown) is stored and all else leaves it as it is, metre to begin with. Each successful
 * save brings back 11812 by 11812 pixels per metre (300 dots per inch). Returns 0.
 */
int ORNAPI pngsetxyresolution(int x, int y, int unit);

/*
 * Why the last PNG call failed; a later success does not clear it, but a save that can create its output does.
 * 0 none; reading (ERR_PNG): -100 unknown critical chunk, -102 header length, -103 bit depth, -104 colour type,
 * -105 bit depth for this colour type, -106 interlace method, -107 compression method, -108 filter method,
 * -109 no pixels, -110 no PNG signature, -111 checksum, -112 too little or too much pixel data, -113 file too
 * short, -114 the decompressor did not start, -115 damaged pixel data; saving: -114 with ERR_MEMORY, -116 with
 * ERR_ZLIB, -117 with ERR_WRITE.
 */
int ORNAPI pnggeterror(void);
/* ---- GIF: compression --------------------------------------------------------------------------------- */

/* For GifDecode and GifEncode, which use codesize only. */
typedef struct GifCodeParams {
    UINT reserved[4]; /* neither read nor written */
    UINT codesize;    /* LZW minimum code size: bits per pixel index */
} GifCodeParams;

/*
 * Decompresses GIF image data: the minimum code size (2 to 9) and the chain of sub-blocks behind it, as they
 * stand in a file from one byte before GifFrameInfo.dataoffset on. The data is expected to begin with
 * a clear code, as GIF89a asks of encoders; docs/gif-string-codes.md tells what to do where it does not.
 *   params     codesize gets the data's minimum code size; may be null
 *   src, srclen  the data, its length in bytes; what follows the chain does no harm
 *   dst, dstlen  gets one byte per pixel, in the order of the file; dstlen is its room
 * Returns the bytes used behind the code size byte, or 0: src or dst not readable, code size out of range, data
 * that is damaged or ends too early, or more pixels than dst has room for (dst is full then). The terminator of
 * the chain counts as used only when the data has no end code.
 */
UINT ORNAPI GifDecode(GifCodeParams *params, const unsigned char *src, int srclen, unsigned char *dst,
                      int dstlen);

/*
 * Compresses pixels to GIF image data: the minimum code size, sub-blocks, terminator and a trailer byte ";".
 *   params     codesize is the number of bits per pixel, up to 11
 *   src, srclen  one byte per pixel, at least one, each below 2 to the power of codesize
 *   dst, dstlen  gets the data; a dstlen of 2 * srclen + 300 is room enough for a codesize of 2 to 8
 * Returns the bytes written, or 0 when dst has not enough room.
 */
UINT ORNAPI GifEncode(GifCodeParams *params, const unsigned char *src, UINT srclen, unsigned char *dst,
                      UINT dstlen);

/* ---- GIF: reading ------------------------------------------------------------------------------------- */

/* What gifinfo tells of a GIF and of one frame in it. */
typedef struct GifFileInfo {
    int width;        /* of the frame, in pixels */
    int height;
    int colorres;     /* bits per colour of the original, 1 to 8 */
    int bitsperpixel; /* of the frame's own colour table, else of the file */
    int transcolor;   /* transparent colour index, -1 if there is none */
    int interlaced;   /* 1 or 0 */
    int codesize;     /* LZW minimum code size */
    int version;      /* 87 or 89 */
    int dibbits;      /* bits per pixel of an image to load it into: 1 or 8 */
} GifFileInfo;

/* What concerns the whole file. */
typedef struct GifGlobalInfo {
    int screenwidth;       /* logical screen, in pixels */
    int screenheight;
    int hasglobalpalette;  /* 1 or 0 */
    int bkgndcolor;        /* background colour index */
    int loopcount;         /* repetitions of an animation, 0 for ever; -1 if the file does not say */
    int bitsperpixel;
    int colorres;
    int aspectratio;       /* as stored: 0, or 64 * width / height of a pixel - 15 */
    UINT commentoffset;    /* file offset of the comment's first sub-block; 0 if there is none */
    int globalcolors;      /* entries in the global colour table */
    UINT globalpaloffset;  /* its file offset */
} GifGlobalInfo;

/* One frame. */
typedef struct GifFrameInfo {
    int left;             /* position on the logical screen */
    int top;
    int haslocalpalette;  /* 1 or 0 */
    int delay;            /* in hundredths of a second */
    int transcolor;       /* transparent colour index, -1 if there is none */
    int disposal;         /* what to do with the frame afterwards, 0 to 7 */
    int userinput;        /* 1 if the user is to confirm the frame */
    int dibbits;          /* bits per pixel of an image to load it into: 1 or 8 */
    int width;
    int height;
    int frameno;          /* counted from 0 */
    int interlaced;
    int codesize;         /* LZW minimum code size */
    int localcolors;      /* entries in the frame's own colour table */
    UINT localpaloffset;  /* file offset of that table */
    UINT dataoffset;      /* file offset of the image data's first sub-block, behind the code size byte */
} GifFrameInfo;

/*
 * Describes the first frame of a GIF. A file that holds no frame gives 0 and a size of 0.
 * Returns 0, ERR_OPEN, ERR_BAD_GIF (no GIF, or nothing known in it), ERR_TRUNCATED (an extension is cut off),
 * ERR_MEMORY; from a buffer also ERR_SOURCE_BUFFER (its first 100 bytes are not readable). Records are set in
 * every case.
 * Locks: gif.
 */
int ORNAPI gifinfo(const char *name, GifFileInfo *info);
int ORNAPI gifinfoW(const WCHAR *name, GifFileInfo *info);
int ORNAPI gifinfofrombuffer(const void *buffer, GifFileInfo *info);

/*
 * Like gifinfo, for any frame, counted from 0, and with all that is known. A frame number just behind the last
 * frame gives 0 and an empty frame record; one beyond that gives ERR_NO_FRAME. Null records are left out.
 * Locks: gif.
 */
int ORNAPI gifinfoframe(const char *name, GifFileInfo *info, GifGlobalInfo *global, GifFrameInfo *frame,
                        int frameno);
int ORNAPI gifinfoframeW(const WCHAR *name, GifFileInfo *info, GifGlobalInfo *global, GifFrameInfo *frame,
                         int frameno);
int ORNAPI gifinfoframefrombuffer(const void *buffer, GifFileInfo *info, GifGlobalInfo *global,
                                  GifFrameInfo *frame, int frameno);

/*
 * Fills frames[0], frames[1] ... for at most maximum frames. Give gifframecount's answer as maximum: where it
 * exceeds the number of frames by more than one, the records are filled and the result is ERR_NO_FRAME.
 * Else like gifinfo.
 * Locks: gif.
 */
int ORNAPI gifinfoallframes(const char *name, GifGlobalInfo *global, GifFrameInfo *frames, int maximum);
int ORNAPI gifinfoallframesW(const WCHAR *name, GifGlobalInfo *global, GifFrameInfo *frames, int maximum);
int ORNAPI gifinfoallframesfrombuffer(const void *buffer, GifGlobalInfo *global, GifFrameInfo *frames,
                                      int maximum);

/* Counts the frames, up to the trailer or the end of the data. Else like gifinfo; where the walk fails, the
 * count is that of the frames before. Locks: gif. */
int ORNAPI gifframecount(const char *name, int *count);
int ORNAPI gifframecountW(const WCHAR *name, int *count);
int ORNAPI gifframecountfrombuffer(const void *buffer, int *count);

/*
 * Loads the first frame into the area of a 1- or 8-bit image, from its top-left corner on, as many rows and
 * columns as both have. In a 1-bit image every index but 0 sets a pixel. The frame's position on the logical
 * screen is not applied. The palette, its count (never more entries than the image has room for) and the grey
 * mark follow the file; without a colour table the image gets its default palette.
 * Only data without string codes is decoded, as savegif writes it: nearly all other GIFs give ERR_LZW_CODE, with
 * the rows before the first string code stored. GifDecode reads those; docs/gif-string-codes.md shows how.
 * Returns 0, the codes of gifinfo and checkrange1_, ERR_BITS (24-bit image), ERR_BAD_GIF (code size not 1 to 8),
 * ERR_LZW_CODE, ERR_MEMORY, ERR_TRUNCATED (the data ends early: the rows before and the palette are loaded).
 * Locks: gif.
 */
int ORNAPI loadgif(const char *name, imgdes *image);
int ORNAPI loadgifW(const WCHAR *name, imgdes *image);
int ORNAPI loadgiffrombuffer(const void *buffer, imgdes *image);

/* Like loadgif, for the frame that the records of gifinfoframe or gifinfoallframes describe. Locks: gif. */
int ORNAPI loadgifframe(const char *name, imgdes *image, GifGlobalInfo *global, GifFrameInfo *frame);
int ORNAPI loadgifframeW(const WCHAR *name, imgdes *image, GifGlobalInfo *global, GifFrameInfo *frame);
int ORNAPI loadgifframefrombuffer(const void *buffer, imgdes *image, GifGlobalInfo *global,
                                  GifFrameInfo *frame);

/*
 * Reads a colour table into the caller's 256 entries: that of the first frame, or of any frame, with the global
 * one where the frame has none of its own; or the global table.
 * Returns the number of entries (0 without a table: nothing is stored), or a code of gifinfoframe.
 * Locks: gif.
 */
int ORNAPI loadgifpalette(const char *name, RGBQUAD *palette);
int ORNAPI loadgifpaletteW(const WCHAR *name, RGBQUAD *palette);
int ORNAPI loadgifpalettefrombuffer(const void *buffer, RGBQUAD *palette);
int ORNAPI loadgifglobalpalette(const char *name, RGBQUAD *palette);
int ORNAPI loadgifglobalpaletteW(const WCHAR *name, RGBQUAD *palette);
int ORNAPI loadgifglobalpalettefrombuffer(const void *buffer, RGBQUAD *palette);
int ORNAPI loadgifframepalette(const char *name, RGBQUAD *palette, int frameno);
int ORNAPI loadgifframepaletteW(const WCHAR *name, RGBQUAD *palette, int frameno);
int ORNAPI loadgifframepalettefrombuffer(const void *buffer, RGBQUAD *palette, int frameno);

/*
 * Copies the file's comment, at most size - 1 bytes and a terminating 0. A null buffer only measures, up to
 * 31999 bytes. Returns the number of bytes without the 0, ERR_NO_FRAME (no comment), or a code of gifinfo.
 * Locks: gif.
 */
int ORNAPI getgifcomment(const char *name, char *buffer, int size);
int ORNAPI getgifcommentW(const WCHAR *name, char *buffer, int size);

/* ---- GIF: writing ------------------------------------------------------------------------------------- */

#define GIF_INTERLACE 1    /* interlaced rows */
#define GIF_TRANSPARENT 2  /* write the transparent colour index */
#define GIF_16COLORS 4     /* 4 bits per pixel; at most 16 palette entries */
#define GIF_BITS(n) ((n) << 16) /* n bits per pixel, 1 to 8; at most 2 to the power of n palette entries */

/*
 * Saves the area of a 1- or 8-bit image as a GIF of one frame. A failed save leaves no file.
 * The data is written without string codes, larger than the pixels, and can be read by every GIF reader.
 * Pixels that need more bits than are written lose the upper ones.
 * Returns 0, the codes of checkrange1_, ERR_BITS (24-bit image), ERR_RANGE (more palette entries than the bits
 * per pixel can name), ERR_TOO_LARGE (area wider or higher than 65535), ERR_ARGUMENT (no palette), ERR_CREATE,
 * ERR_MEMORY, ERR_WRITE (disk full).
 * Locks: gif.
 */
int ORNAPI savegif(const char *name, imgdes *image);
int ORNAPI savegifW(const WCHAR *name, imgdes *image);

/*
 * Like savegif, with options.
 *   flags       any of the GIF_ flags above; 0 for none
 *   transcolor  with GIF_TRANSPARENT: a colour index, 0 to 255, or -1 for none; else unused
 * The buffer form stores a new block in *buffer (see InitializeLibrary), null on failure.
 * Returns what savegif returns; ERR_ARGUMENT also for another transcolor.
 * Locks: gif.
 */
int ORNAPI savegifex(const char *name, imgdes *image, UINT flags, int transcolor);
int ORNAPI savegifexW(const WCHAR *name, imgdes *image, UINT flags, int transcolor);
int ORNAPI savegiftobufferex(void **buffer, imgdes *image, UINT flags, int transcolor);

/*
 * Saves the area of an image as one frame of an animation: makes the file, or appends to one that is there.
 *   global  for a new file: screenwidth, screenheight, hasglobalpalette (write the image's palette as the global
 *           table), bkgndcolor, loopcount (0 for ever)
 *   frame   left, top, haslocalpalette (write the image's palette as the frame's own), delay, disposal,
 *           userinput, transcolor
 * At least one of the two palettes must be asked for. An append that fails leaves the file as it was. The
 * buffer form always makes a new file of one frame.
 * Returns what savegifex returns.
 * Locks: gif.
 */
int ORNAPI savegifframe(const char *name, imgdes *image, GifGlobalInfo *global, GifFrameInfo *frame, UINT flags);
int ORNAPI savegifframeW(const WCHAR *name, imgdes *image, GifGlobalInfo *global, GifFrameInfo *frame,
                         UINT flags);
int ORNAPI savegifframetobuffer(void **buffer, imgdes *image, GifGlobalInfo *global, GifFrameInfo *frame,
                                UINT flags);

/*
 * Sets the header's version for the saves to come: 89, or 87 for any other value. With 89, text is written as a
 * comment by the next save that succeeds; it is not copied and must stay valid until then. No text, or an empty
 * one, writes no comment.
 */
void ORNAPI setgifcomment(int version, const char *text);

/* ---- JPEG reading -------------------------------------------------------------------------------------- */

/* What a JPEG file says about its picture: ten 32-bit fields. */
typedef struct JpegInfo {
    int ftype;       /* 0 baseline, 1 extended, 2 progressive (all three are loaded), 3 lossless, 9 to 11
                        arithmetic-coded; -1 if the file describes no picture */
    UINT width;      /* in pixels */
    UINT height;
    UINT comps;      /* colour components: 1 grey, 3 colour, 4 CMYK or YCCK */
    UINT precision;  /* bits per sample; 8 in files that are loaded */
    UINT sampfac[4]; /* per component horizontal sampling factor << 4 | vertical one; 0 if there is none */
    UINT vbitcount;  /* bits per pixel of the image to load into: 8 for one component, else 24 */
} JpegInfo;

/* The same with resolution and stored thumbnail: 60 bytes. */
typedef struct JpegInfoEx {
    int ftype;
    UINT width;
    UINT height;
    UINT comps;
    UINT precision;
    UINT sampfac[4];
    UINT vbitcount;
    UINT xdensity;  /* 0 if the file has none, or has it in dots per centimetre */
    UINT ydensity;
    UINT densunits; /* 0 aspect ratio only, 1 dots per inch */
    UINT thumbnail; /* 1 if the file stores a thumbnail, else 0 */
    unsigned char thumbwidth; /* in pixels */
    unsigned char thumbheight;
    unsigned char thumbbits; /* 8 (palette) or 24 */
    unsigned char thumbtype; /* 0x10 JPEG-coded, 0x11 palette, 0x13 RGB */
} JpegInfoEx;

/*
 * Reads a JPEG's headers up to its first scan; nothing behind it is looked at. After ERR_BAD_JPEG the record
 * holds what was found before the flaw.
 * Returns 0, ERR_OPEN, ERR_BAD_JPEG (see jpeggeterror), ERR_MEMORY; from a buffer also ERR_SOURCE_BUFFER (its
 * first 100 bytes are not readable).
 * Locks: jpeg.
 */
int ORNAPI jpeginfo(const char *name, JpegInfo *info);
int ORNAPI jpeginfoW(const WCHAR *name, JpegInfo *info);
int ORNAPI jpeginfofrombuffer(const void *buffer, JpegInfo *info);

/*
 * Like jpeginfo, but the record is filled whatever the result; with ftype -1 where nothing could be read.
 * Locks: jpeg.
 */
int ORNAPI jpeginfoex(const char *name, JpegInfoEx *info);
int ORNAPI jpeginfoexW(const WCHAR *name, JpegInfoEx *info);
int ORNAPI jpeginfofrombufferex(const void *buffer, JpegInfoEx *info);

/*
 * Loads a JPEG (baseline, extended or progressive Huffman coding) into the area of an allocated image: the
 * picture's top-left part, as many rows and columns as both have; other pixels stay as they are. One-component
 * pictures need an 8-bit image, whose palette becomes the grey ramp, others a 24-bit one.
 * A progressive picture that was cut behind its first scan loads as far as it goes, with result 0. After any
 * failure what has been decoded stays in the image.
 * Returns 0, the codes of checkrange_, ERR_OPEN, ERR_BAD_JPEG or ERR_TRUNCATED (see jpeggeterror), ERR_NO_DATA (a
 * colour plane is missing), ERR_BITS (wrong image for this file), ERR_RANGE (picture of no width or height, or
 * over 32767), ERR_MEMORY; from a buffer also ERR_SOURCE_BUFFER (its first 100 bytes are not readable).
 * Locks: jpeg.
 */
int ORNAPI loadjpg(const char *name, imgdes *image);
int ORNAPI loadjpgW(const WCHAR *name, imgdes *image);
int ORNAPI loadjpgfrombuffer(const void *buffer, imgdes *image);

/*
 * Like loadjpg, with the colour conversion chosen by option: JPEG_COLOR_AUTO takes it from the file, the others
 * say what the file's components are. CMYK and YCCK need four components; the missing fourth of three counts as
 * no black.
 * Locks: jpeg.
 */
#define JPEG_COLOR_AUTO 0
#define JPEG_COLOR_YCBCR 0x80
#define JPEG_COLOR_RGB 0x81
#define JPEG_COLOR_CMYK 0x82
#define JPEG_COLOR_YCCK 0x83
int ORNAPI loadjpgex(const char *name, imgdes *image, UINT option);
int ORNAPI loadjpgexW(const WCHAR *name, imgdes *image, UINT option);
int ORNAPI loadjpgfrombufferex(const void *buffer, imgdes *image, UINT option);

/*
 * Loads a small picture into the area's top left, in the shape of the whole picture and never larger than it:
 * the thumbnail stored in the file, scaled by picking pixels, or where there is none that can be loaded the
 * picture itself reduced by picking pixels, which is faster than loading it whole. Pixels beside it stay as they
 * are, and so does the record's area.
 *   mode  1 takes no notice of a stored thumbnail; any other value uses it
 * The image needs the bit count of what is loaded: 8 for a palette thumbnail (which brings its palette) and for
 * one-component pictures, else 24.
 * Returns 0, the codes of loadjpg; ERR_RANGE if nothing is left of the picture in one direction; ERR_TRUNCATED
 * also for a thumbnail that is cut.
 * Locks: jpeg.
 */
int ORNAPI loadjpgthumbnail(const char *name, imgdes *image, int mode);
int ORNAPI loadjpgthumbnailW(const WCHAR *name, imgdes *image, int mode);
int ORNAPI loadjpgthumbnailfrombuffer(const void *buffer, imgdes *image, int mode);

/*
 * The reason behind the last failed JPEG call of the process, 0 if it had none of these:
 *   -100 precision is not 8 bits      -101 data ends early             -104 reading failed
 *   -105 bad Huffman code or table    -106 too many components, bad sampling factors, or a missing table
 *   -107 more than 10 blocks per MCU  -109 not 1, 3 or 4 components    -110 frame type that is not decoded
 *   -113 bad scan parameters          -114 output memory ran out       -115 writing failed
 * A progressive picture that was cut behind its first scan loads with result 0 and leaves -101 here.
 */
int ORNAPI jpeggeterror(void);

/* ---- JPEG writing ------------------------------------------------------------------------------------- */

/*
 * Saves the area of an 8- or 24-bit image as a JFIF file. Images of 24 bits and palette images are written in
 * colour, at half the resolution for the colour differences (4:2:0); 8-bit images with the grey mark in grey,
 * where the pixel is the grey level whatever the palette.
 *   quality  1 (small) to 100 (fine), values outside count as the nearer end
 * The buffer form stores a new block in *buffer (see InitializeLibrary), null on failure. A failed save leaves no
 * file.
 * Returns 0, the codes of checkrange_, ERR_TOO_LARGE, ERR_CREATE, ERR_WRITE (disk full), ERR_MEMORY.
 * Locks: jpeg.
 */
int ORNAPI savejpg(const char *name, imgdes *image, int quality);
int ORNAPI savejpgW(const WCHAR *name, imgdes *image, int quality);
int ORNAPI savejpgtobuffer(void **buffer, imgdes *image, int quality);

#define JPEG_PROGRESSIVE 1  /* several scans, from rough to fine */
#define JPEG_OPTIMIZED 2    /* Huffman tables made for the picture: a smaller file, written more slowly */
#define JPEG_THUMBNAIL 0x10 /* may be added: store a thumbnail (see jpegsetthumbnailsize) */

/*
 * Like savejpg, but with options: 0, one of the numbers above, or JPEG_THUMBNAIL with one of the others. Any
 * other number is a plain file. Progressive and optimised files need memory for the whole picture: about 4 bytes
 * a pixel, 2.5 for grey ones. Also returns ERR_THUMB_SIZE: the thumbnail does not fit into 64 KB.
 * Locks: jpeg, then matching for the thumbnail of a palette image.
 */
int ORNAPI savejpgex(const char *name, imgdes *image, int quality, UINT options);
int ORNAPI savejpgexW(const WCHAR *name, imgdes *image, int quality, UINT options);
int ORNAPI savejpgtobufferex(void **buffer, imgdes *image, int quality, UINT options);

/*
 * The resolution that the next JPEG file saved will carry; later ones have 1, 1, 0 again.
 *   xres, yres  0 to 65535
 *   units       0: none, xres and yres are an aspect ratio; 1: dots per inch; 2: dots per cm
 * A value out of range leaves that setting as it is.
 * Locks: jpeg.
 */
void ORNAPI jpegsetxyresolution(UINT xres, UINT yres, UINT units);

/*
 * The longer side, in pixels, of the thumbnails that are stored from now on; at first 64.
 * Returns 0, ERR_ARGUMENT (not 1 to 255).
 * Locks: jpeg.
 */
int ORNAPI jpegsetthumbnailsize(UINT size);

#ifdef __cplusplus
}
#endif

#endif /* ORN32_H */
