#!/bin/sh
# Regenerates the bitmap files of the reader's tests with ImageMagick (a real encoder, so the
# reader is checked against files it did not write). Run from this directory; needs the real
# ImageMagick "convert" (set IM to another path if it is not /usr/bin/convert).
set -e
IM=${IM:-/usr/bin/convert}
src=$(mktemp --suffix=.png)
trap 'rm -f "$src"' EXIT
"$IM" -size 13x7 gradient:red-blue -seed 5 +noise Random -depth 8 "$src"

# Uncompressed 40-byte headers (BMP3), palette-indexed and direct colour.
"$IM" "$src" -colorspace Gray -type Bilevel -compress None BMP3:im_1_gray_13x7.bmp
"$IM" -size 7x5 xc:red -fill blue -draw "point 1,1 point 3,2 point 6,4 point 0,4" \
      -colors 2 -type Palette -compress None BMP3:im_1_color_7x5.bmp
"$IM" -size 5x3 gradient:yellow-navy -colors 2 -type Palette -compress None BMP3:im_1_color_5x3.bmp
"$IM" "$src" -colorspace Gray -colors 16 -type Palette -depth 4 -compress None BMP3:im_4_gray_13x7.bmp
"$IM" "$src" -colors 12 -type Palette -depth 4 -compress None BMP3:im_4_color_13x7.bmp
"$IM" "$src" -resize 5x9! -colors 7 -type Palette -depth 4 -compress None BMP3:im_4_color_5x9.bmp
"$IM" "$src" -colorspace Gray -type Palette -compress None BMP3:im_8_gray_13x7.bmp
"$IM" "$src" -resize 5x5! -colorspace Gray -type Palette -compress None BMP3:im_8_gray_5x5.bmp
"$IM" "$src" -colors 200 -type Palette -compress None BMP3:im_8_color_13x7.bmp
"$IM" "$src" -resize 7x4! -colors 40 -type Palette -compress None BMP3:im_8_color_7x4.bmp
"$IM" "$src" -type TrueColor -compress None BMP3:im_24_13x7.bmp
"$IM" "$src" -resize 7x6! -type TrueColor -compress None BMP3:im_24_7x6.bmp
"$IM" "$src" -alpha set -channel A -evaluate set 60% +channel -define bmp3:alpha=true \
      -compress None BMP3:im_32_13x7.bmp
# A 124-byte header: the palette follows the whole header.
"$IM" "$src" -colors 12 -type Palette -depth 4 -compress None im_4_color_v5_13x7.bmp
# A 124-byte header with bit-field masks: compressed in the reader's sense, refused.
"$IM" "$src" -alpha set -channel A -evaluate set 60% +channel -compress None im_32_bitfields_13x7.bmp
