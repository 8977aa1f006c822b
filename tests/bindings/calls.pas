{ The unit for Delphi and Free Pascal in use: every format saved and loaded, every record read, functions of our own
  called back, and the stack where it was after each call. Ends with 0, or with the number of the first check that fails. }
program calls;
{$MODE DELPHI}
{$APPTYPE CONSOLE}
uses Windows, orn32;

const
  Width = 67;
  Height = 41;

var
  Blocks: Longint = 0;
  StackBefore: Pointer;

function StackPointer: Pointer; assembler; nostackframe;
asm
  lea eax, [esp + 4]
end;

procedure Check(Number: Integer; Holds: Boolean);
begin
  if Holds then exit;
  writeln('check ', Number, ' fails');
  Halt(Number);
end;

function Allocate(Size: Cardinal): Pointer; cdecl;
begin
  Inc(Blocks);
  Allocate := GetMem(Size);
end;

function AllocateCleared(Count, Size: Cardinal): Pointer; cdecl;
begin
  Inc(Blocks);
  AllocateCleared := AllocMem(Count * Size);
end;

procedure Release(Block: Pointer); cdecl;
begin
  if Block <> nil then Dec(Blocks);
  FreeMem(Block);
end;

function Same(const A, B: Timgdes): Boolean;
begin
  Same := (A.rowbytes = B.rowbytes) and (CompareByte(A.bits^, B.bits^, A.rowbytes * Height) = 0);
end;

procedure Blank(Number: Integer; out Image: Timgdes; Bits: Cardinal);
begin
  FillChar(Image, SizeOf(Image), $55);
  Check(Number, allocimage(@Image, Width, Height, Bits) = 0);
  Check(Number, (Image.right = Width - 1) and (Image.bottom = Height - 1) and (Image.header^.biWidth = Width));
end;

procedure EveryFormat;
var
  Colour, Back, Indexed, Copy: Timgdes;
  Png: TPngInfo;
  Jpeg: TJpegInfoEx;
  Gif: TGifFileInfo;
  Global: TGifGlobalInfo;
  Frame: TGifFrameInfo;
  Bmp: TBitmapInfoHeader;
  Hsv: array [0..2] of Byte;
  Bgr: array [0..3] of Byte;
  Block: Pointer;
  Text: array [0..31] of AnsiChar;
  X, Y: Cardinal;
begin
  Blank(10, Colour, 24);
  Blank(11, Back, 24);
  Blank(12, Indexed, 8);
  Blank(13, Copy, 8);
  for Y := 0 to Height - 1 do
    for X := 0 to Width * 3 - 1 do
      Colour.bits[Y * Colour.rowbytes + X] := Byte(X + 4 * Y);

  Check(20, savebmp('t.bmp', @Colour, 0) = 0);
  Check(21, (bmpinfoW('t.bmp', @Bmp) = 0) and (Bmp.biWidth = Width) and (Bmp.biHeight = Height) and (Bmp.biBitCount = 24));
  Check(22, (loadbmpW('t.bmp', @Back) = 0) and Same(Colour, Back));

  Check(30, (pngsetxyresolution(1234, 1234, 1) = 0) and (savepngW('t.png', @Colour, 1) = 0));
  Check(31, (pnginfo('t.png', @Png) = 0) and (Png.width = Width) and (Png.height = Height) and (Png.bitdepth = 8));
  Check(32, (Png.dibbits = 24) and (Png.colortype = 2) and (Png.interlaced = 1) and (Png.channels = 3));
  Check(33, (Png.rowbytes = Width * 3) and (Png.xres = 1234) and (Png.yres = 1234) and (Png.resunit and 255 = 1));
  Check(34, (Png.offsetunit = 0) and (loadpng('t.png', @Back) = 0) and Same(Colour, Back));

  jpegsetxyresolution(300, 200, 1);
  Check(40, savejpgex('t.jpg', @Colour, 95, JPEG_PROGRESSIVE or JPEG_THUMBNAIL) = 0);
  Check(41, (jpeginfoexW('t.jpg', @Jpeg) = 0) and (Jpeg.ftype = 2) and (Jpeg.width = Width) and (Jpeg.height = Height));
  Check(42, (Jpeg.comps = 3) and (Jpeg.precision = 8) and (Jpeg.sampfac[0] = $22) and (Jpeg.sampfac[2] = $11));
  Check(43, (Jpeg.vbitcount = 24) and (Jpeg.xdensity = 300) and (Jpeg.ydensity = 200) and (Jpeg.densunits = 1));
  Check(44, (Jpeg.thumbnail = 1) and (Jpeg.thumbwidth = 64) and (Jpeg.thumbtype >= $10) and (Jpeg.thumbtype <= $13));
  Check(45, (loadjpg('t.jpg', @Back) = 0) and (jpeggeterror = 0) and not Same(Colour, Back));

  Check(50, (convertrgbtopalex(64, @Colour, @Indexed, 1) = 0) and (Indexed.palcolors = 64));
  setgifcomment(89, 'from Pascal');
  Check(51, savegifex('t.gif', @Indexed, GIF_INTERLACE or GIF_TRANSPARENT or GIF_BITS(6), 5) = 0);
  Check(52, (gifinfoframeW('t.gif', @Gif, @Global, @Frame, 0) = 0) and (Gif.width = Width) and (Gif.height = Height));
  Check(53, (Gif.transcolor = 5) and (Gif.interlaced = 1) and (Gif.version = 89) and (Gif.dibbits = 8));
  Check(54, (Global.screenwidth = Width) and (Global.globalcolors = 64) and (Global.globalpaloffset = 13));
  Check(55, (Frame.transcolor = 5) and (Frame.width = Width) and (Frame.codesize = 6) and (Frame.dataoffset > 13));
  Check(56, (getgifcomment('t.gif', Text, SizeOf(Text)) = 11) and (Text = 'from Pascal'));
  Check(57, (loadgif('t.gif', @Copy) = 0) and Same(Indexed, Copy));
  Check(58, (savegiftobufferex(@Block, @Indexed, GIF_BITS(6), -1) = 0) and (Block <> nil));
  Check(59, (loadgiffrombuffer(Block, @Copy) = 0) and Same(Indexed, Copy));
  Release(Block);

  Bgr[0] := 0; Bgr[1] := 255; Bgr[2] := 0; Bgr[3] := 77;
  rgb2hsv(@Bgr, @Hsv, 1);
  Check(60, (Hsv[0] = 85) and (Hsv[1] = 255) and (Hsv[2] = 255) and (Bgr[3] = 77));
  Check(61, medianfilter(5, @Colour, @Back) = 0);
  Check(62, printimage(1, 2, 3, 4, 5, 6, 7) = 0);
  Check(63, loadbmp('missing.bmp', @Back) = ERR_OPEN);
  Check(64, loadbmpW('missing.bmp', @Back) = ERR_OPEN);
  Check(65, savegif('t24.gif', @Colour) = ERR_BITS);

  freeimage(@Colour);
  freeimage(@Back);
  freeimage(@Indexed);
  freeimage(@Copy);
  Check(66, (Colour.header = nil) and (Copy.bits = nil));
end;

begin
  Check(1, (SizeOf(Timgdes) = 44) and (SizeOf(TPngInfo) = 104) and (SizeOf(TJpegInfo) = 40) and (SizeOf(TJpegInfoEx) = 60));
  Check(2, (SizeOf(TGifFileInfo) = 36) and (SizeOf(TGifGlobalInfo) = 44) and (SizeOf(TGifFrameInfo) = 64));
  Check(3, (SizeOf(TGifCodeParams) = 20) and (Orrinversion >= $100));
  InitializeLibrary(Allocate, Allocate, AllocateCleared, AllocateCleared, Release);
  StackBefore := StackPointer;
  EveryFormat;
  Check(4, StackPointer = StackBefore);
  Check(5, Blocks = 0);
end.
