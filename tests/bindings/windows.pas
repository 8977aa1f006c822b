{ What the unit uses of the Windows unit, so that compilers for other systems can check it. }
unit Windows;
{$MODE DELPHI}
interface
type
  HWND = Cardinal;
  HDC = Cardinal;
  HPALETTE = Cardinal;
  HBITMAP = Cardinal;
  TRGBQuad = packed record
    rgbBlue, rgbGreen, rgbRed, rgbReserved: Byte;
  end;
  PRGBQuad = ^TRGBQuad;
  TRect = packed record
    Left, Top, Right, Bottom: Longint;
  end;
  PRect = ^TRect;
  TBitmapInfoHeader = packed record
    biSize: Cardinal;
    biWidth, biHeight: Longint;
    biPlanes, biBitCount: Word;
    biCompression, biSizeImage: Cardinal;
    biXPelsPerMeter, biYPelsPerMeter: Longint;
    biClrUsed, biClrImportant: Cardinal;
  end;
  PBitmapInfoHeader = ^TBitmapInfoHeader;
implementation
end.
