/* SPDX-License-Identifier: MIT
 * Copyright (c) the Vexa camera utility library authors
 */
/**
 * @file
 * The whole public interface of libVexaCamFrames.so.0: camera buffers as they
 * arrive.
 *
 * libVexaCamUtl_64.so.1 converts rows without padding, one sample per byte or
 * 16-bit word. Cameras also send samples packed into bits, padded rows, data
 * after the picture, YUYV, limited-range YUV and raw levels. This library
 * describes such a buffer, checks its length and converts it in one call, with
 * the public functions of libVexaCamUtl_64.so.1. The header is valid C99 and C++.
 *
 *
 * ## A first program
 *
 *     #include <VexaCamFrames.h>
 *     #include <stdio.h>
 *
 *     // A 12-bit packed Bayer buffer of any length to BGRA.
 *     int show(const void *buffer, size_t length, void *bgra)
 *     {
 *         VcfLayout layout;
 *         VcfConverter *converter = NULL;
 *         char text[VCF_TEXT_BYTES];
 *         VcfStatus status;
 *
 *         VcfInitLayout(&layout, VcfFormatNamed("BayerRG12p"), 1920, 1080);
 *         layout.stride = 2944;                    // rows padded to 64 bytes
 *         status = VcfCreateConverter(&converter, &layout, VCF_OUTPUT_BGRA,
 *                                     NULL, text, sizeof text);
 *         if (status == VCF_OK)
 *             status = VcfConvert(converter, buffer, length, bgra, 0,
 *                                 text, sizeof text);
 *         if (status != VCF_OK)
 *             fprintf(stderr, "%s\n", text);
 *         VcfDestroyConverter(converter);
 *         return status == VCF_OK;
 *     }
 *
 * Link with -lVexaCamFrames, with the output of pkg-config --libs vexacamframes, or
 * with the CMake target VexaCamUtl::Frames. Keep the converter: it serves any
 * number of frames.
 *
 *
 * ## Buffers in
 *
 *     offset             stride                     stride
 *     |<- skipped ->|<- row 0 ... |padding>|<- row 1 ... |padding>| ... | rest
 *
 * With stride 0 rows follow each other without a gap. Packed samples then run
 * on from row to row as well: a row may begin inside a byte. The CSI-2 layouts
 * are the exception: their rows always begin with a whole group.
 *
 * Bytes after the last pixel (padding of the last row, chunk data) may be present
 * or missing. A buffer that ends before its last pixel is refused, and no byte
 * past its length is read.
 *
 *
 * ## Layouts
 *
 * All layouts of VexaCamUtl.h, for every output in their nominal size: UYVY takes
 * 4 bytes for 2 pixels, UYV 3 bytes per pixel. In addition the layouts below,
 * drawn with the first byte to the left and the most significant bit of each byte
 * to the left. The letters a, b, c, d are bits of the first four samples; a
 * capital letter is one of the high bits of its sample:
 *
 *     10p     least significant bit first: sample n begins at bit 10 n
 *             |aaaaaaaa|bbbbbbAA|ccccBBBB|ddCCCCCC|DDDDDDDD|
 *     12p     sample n begins at bit 12 n
 *             |aaaaaaaa|bbbbAAAA|BBBBBBBB|
 *     10Packed  high 8 bits apart from the low 2; 2 samples in 3 bytes
 *             |AAAAAAAA|--bb--aa|BBBBBBBB|
 *     12Packed  high 8 bits apart from the low 4
 *             |AAAAAAAA|bbbbaaaa|BBBBBBBB|
 *     10CSI2  MIPI CSI-2 RAW10: 4 samples in 5 bytes
 *             |AAAAAAAA|BBBBBBBB|CCCCCCCC|DDDDDDDD|ddccbbaa|
 *     12CSI2  MIPI CSI-2 RAW12: 2 samples in 3 bytes
 *             |AAAAAAAA|BBBBBBBB|bbbbaaaa|
 *     14, 16  one little-endian 16-bit word per sample
 *     YUV422_8  | Y0 U Y1 V | ...     4 bytes per 2 pixels (YUYV, YUY2)
 *
 * For words whose value lies in the high bits, set `shift`: the sample is
 * word >> shift.
 *
 *
 * ## Pictures out
 *
 *     VCF_OUTPUT_BGRA    | B G R FF |   4 bytes per pixel
 *     VCF_OUTPUT_BGR     | B G R |      3
 *     VCF_OUTPUT_RGB     | R G B |      3
 *     VCF_OUTPUT_RGBA    | R G B FF |   4
 *     VCF_OUTPUT_GREY8   | Y |          1
 *     VCF_OUTPUT_GREY16  | Y lo, Y hi | 2
 *
 * The top row comes first; rows are `dst_stride` bytes apart (0: no padding). Every
 * byte of every pixel is written, and nothing else: padding between rows keeps
 * its bytes.
 *
 * BGRA and BGR hold the bytes that the format's converter of VexaCamUtl.h writes;
 * RGB and RGBA hold the same with red and blue exchanged. One exception: the byte
 * that ConvByrBG8ToBGRAACPI leaves unchanged (red at the end of row 1) is written,
 * with the value of the BGR picture.
 *
 * Grey of Mono and Bayer is the sample itself, the mosaic as it is. GREY8 is
 * its 8 high bits. GREY16 is the whole sample, scaled without loss so that the
 * largest value of its depth d becomes 65535: (s << (16 - d)) | (s >> (2d - 16)).
 * With levels, GREY8 is the 8-bit sample that they give, and GREY16 is 257 times
 * that sample.
 *
 * Grey of packed colour is Y = (77 R + 150 G + 29 B + 128) >> 8 of the BGR
 * picture; grey of YUV is its Y. GREY8 is Y, and GREY16 is 257 Y.
 *
 * Limited-range YUV (layout.range) is brought to full range before it is
 * converted, each value rounded and saturated:
 *
 *     Y' = (Y - 16) * 255 / 219        C' = (C - 128) * 255 / 224 + 128
 *
 *
 * ## Levels
 *
 * With VcfSettings::levels set, black level, white balance, exposure and tone
 * are applied to the raw samples at full depth, before demosaicing. The result
 * is an 8-bit mosaic, so that the adaptive demosaic serves 10 to 16 bits too.
 * For a sample s of depth d in channel c (R, G or B; Mono uses none):
 *
 *     d > 14:  s = s >> (d - 14), black = black >> (d - 14), d = 14
 *     W = 2^d - 1                              the largest sample
 *     n = max(0, min(s, W) - black)
 *     G = (gain[c] * exposure + 2^15) >> 16    gain and exposure: 65536 is 1.0;
 *                                              Mono: G = exposure
 *     D = (W - black) * 65536
 *     x = min(65535, (n * G * 65535 + D / 2) / D)      integers, rounded down
 *
 *     linear   v = floor(255 x / 65535 + 1/2)
 *     gamma    v = floor(255 (x / 65535)^(100 / gamma) + 1/2)
 *     sRGB     t = x / 65535
 *              v = floor(255 (12.92 t) + 1/2)                       t <= 0.0031308
 *              v = floor(255 (1.055 t^(1 / 2.4) - 0.055) + 1/2)     above
 *
 * The three formulas for v hold in exact arithmetic; the library gives their
 * value for every x and every gamma, in every rounding mode. With levels, a
 * sample is thus scaled and rounded even if nothing else changes it (depth 12:
 * 4095 becomes 255); without levels it is shifted. The three channels of packed
 * colour are treated alike. YUV has no raw samples, so levels are refused for it.
 *
 * VcfSettings::matrix, if used, is applied to the finished picture, after the tone
 * (the usual place for saturation and hue):
 *
 *     R' = clamp((m[0] R + m[1] G + m[2] B + 2048) >> 12, 0, 255)      4096 is 1.0
 *     G' = ... m[3..5],  B' = ... m[6..8]
 *
 *
 * ## Rules that hold for every function
 *
 * Statuses. A function that can fail returns a VcfStatus; 0 is success. Functions
 * that take `text` write a message for people there, an empty one on success. It
 * ends with a 0 byte and is cut to `text_bytes`; null and 0 are allowed. Nothing
 * is written to a destination unless the status is VCF_OK. The caller must
 * provide a destination that is large enough; the library cannot check it.
 *
 * Structures. Fill them with their Init function first, then set fields. Leave
 * reserved fields 0; another value is refused, so that later versions can use them.
 *
 * Threads. A converter serves one thread at a time. Converters share nothing that
 * changes: neither another converter nor SetBayerConvMode affects the bytes. All
 * other functions may be called at any time from any thread.
 *
 * Memory. VcfCreateConverter allocates; no other function does. A converter
 * takes about 0.5 to 2 MiB, independent of the height.
 *
 * Exceptions never leave the library.
 */
#ifndef VEXACAMFRAMES_H
#define VEXACAMFRAMES_H

#include <stddef.h>
#include <stdint.h>

#include <VexaCamUtl.h>

/** Version of this header; VcfVersion returns that of the shared object. */
#define VEXACAMFRAMES_VERSION_MAJOR 0
#define VEXACAMFRAMES_VERSION_MINOR 1 /**< grows with backward-compatible additions */
#define VEXACAMFRAMES_VERSION_PATCH 0 /**< grows with corrections */

#ifdef __cplusplus
extern "C" {
#endif

/** The library's version: major * 65536 + minor * 256 + patch. */
VEXACAMUTL_API uint32_t VcfVersion(void);

/**
 * @defgroup vcf_statuses Statuses
 * @{
 */

/** What an operation returns; 0 is success. */
typedef uint32_t VcfStatus;

#define VCF_OK 0u               /**< done */
#define VCF_INVALID_ARGUMENT 1u /**< a null pointer, an unknown constant, a reserved field that is not 0 */
#define VCF_UNKNOWN_FORMAT 2u   /**< no such pixel format */
#define VCF_BAD_LAYOUT 3u       /**< size, stride, offset or shift that no frame can have */
#define VCF_TOO_SHORT 4u        /**< the buffer ends before its last pixel */
#define VCF_BAD_STRIDE 5u       /**< a stride shorter than a row, or too long for the address space */
#define VCF_BAD_REGION 6u       /**< a region or band outside the frame, or at offsets that change the phase */
#define VCF_UNSUPPORTED 7u      /**< valid, but not for this format or output */
#define VCF_NO_MEMORY 8u        /**< a converter could not be allocated */
#define VCF_NO_ESTIMATE 9u      /**< all samples are clipped or black */

/** Room that holds every text of this library. */
#define VCF_TEXT_BYTES 256

/** A short name of a status, for example "buffer too short"; never null. */
VEXACAMUTL_API const char* VcfStatusText(VcfStatus status);

/** @} */

/**
 * @defgroup vcf_formats Formats and names
 * The formats are those of VexaCamUtl.h and the following. Codes are those of the
 * GenICam Pixel Format Naming Convention (PFNC). PFNC does not have the CSI-2
 * layouts, so their codes lie in its custom range (bit 31): 0x81, bits per pixel,
 * CSI-2 data type, phase.
 * @{
 */

#define PIXEL_FORMAT_MONO14 0x01100025u     /**< grey, 14 bits in 16 */
#define PIXEL_FORMAT_BAYER_GR14 0x01100109u /**< as GR8, 14 bits in 16 */
#define PIXEL_FORMAT_BAYER_RG14 0x0110010Au /**< as RG8, 14 bits in 16 */
#define PIXEL_FORMAT_BAYER_GB14 0x0110010Bu /**< as GB8, 14 bits in 16 */
#define PIXEL_FORMAT_BAYER_BG14 0x0110010Cu /**< as BG8, 14 bits in 16 */
#define PIXEL_FORMAT_BAYER_GR16 0x0110002Eu /**< as GR8, 16 bits */
#define PIXEL_FORMAT_BAYER_RG16 0x0110002Fu /**< as RG8, 16 bits */
#define PIXEL_FORMAT_BAYER_GB16 0x01100030u /**< as GB8, 16 bits */
#define PIXEL_FORMAT_BAYER_BG16 0x01100031u /**< as BG8, 16 bits */

#define PIXEL_FORMAT_MONO10P 0x010A0046u     /**< grey, 10p */
#define PIXEL_FORMAT_MONO12P 0x010C0047u     /**< grey, 12p */
#define PIXEL_FORMAT_BAYER_GR10P 0x010A0056u /**< as GR8, 10p */
#define PIXEL_FORMAT_BAYER_RG10P 0x010A0058u /**< as RG8, 10p */
#define PIXEL_FORMAT_BAYER_GB10P 0x010A0054u /**< as GB8, 10p */
#define PIXEL_FORMAT_BAYER_BG10P 0x010A0052u /**< as BG8, 10p */
#define PIXEL_FORMAT_BAYER_GR12P 0x010C0057u /**< as GR8, 12p */
#define PIXEL_FORMAT_BAYER_RG12P 0x010C0059u /**< as RG8, 12p */
#define PIXEL_FORMAT_BAYER_GB12P 0x010C0055u /**< as GB8, 12p */
#define PIXEL_FORMAT_BAYER_BG12P 0x010C0053u /**< as BG8, 12p */

#define PIXEL_FORMAT_MONO10_PACKED 0x010C0004u     /**< grey, 10Packed */
#define PIXEL_FORMAT_MONO12_PACKED 0x010C0006u     /**< grey, 12Packed */
#define PIXEL_FORMAT_BAYER_GR10_PACKED 0x010C0026u /**< as GR8, 10Packed */
#define PIXEL_FORMAT_BAYER_RG10_PACKED 0x010C0027u /**< as RG8, 10Packed */
#define PIXEL_FORMAT_BAYER_GB10_PACKED 0x010C0028u /**< as GB8, 10Packed */
#define PIXEL_FORMAT_BAYER_BG10_PACKED 0x010C0029u /**< as BG8, 10Packed */
#define PIXEL_FORMAT_BAYER_GR12_PACKED 0x010C002Au /**< as GR8, 12Packed */
#define PIXEL_FORMAT_BAYER_RG12_PACKED 0x010C002Bu /**< as RG8, 12Packed */
#define PIXEL_FORMAT_BAYER_GB12_PACKED 0x010C002Cu /**< as GB8, 12Packed */
#define PIXEL_FORMAT_BAYER_BG12_PACKED 0x010C002Du /**< as BG8, 12Packed */

#define PIXEL_FORMAT_MONO10_CSI2 0x810A2B00u     /**< grey, CSI-2 RAW10 */
#define PIXEL_FORMAT_BAYER_GR10_CSI2 0x810A2B01u /**< as GR8, CSI-2 RAW10 */
#define PIXEL_FORMAT_BAYER_RG10_CSI2 0x810A2B02u /**< as RG8, CSI-2 RAW10 */
#define PIXEL_FORMAT_BAYER_GB10_CSI2 0x810A2B03u /**< as GB8, CSI-2 RAW10 */
#define PIXEL_FORMAT_BAYER_BG10_CSI2 0x810A2B04u /**< as BG8, CSI-2 RAW10 */
#define PIXEL_FORMAT_MONO12_CSI2 0x810C2C00u     /**< grey, CSI-2 RAW12 */
#define PIXEL_FORMAT_BAYER_GR12_CSI2 0x810C2C01u /**< as GR8, CSI-2 RAW12 */
#define PIXEL_FORMAT_BAYER_RG12_CSI2 0x810C2C02u /**< as RG8, CSI-2 RAW12 */
#define PIXEL_FORMAT_BAYER_GB12_CSI2 0x810C2C03u /**< as GB8, CSI-2 RAW12 */
#define PIXEL_FORMAT_BAYER_BG12_CSI2 0x810C2C04u /**< as BG8, CSI-2 RAW12 */

#define PIXEL_FORMAT_YUV422_8 0x02100032u /**< 4:2:2, Y0 U Y1 V: 4 bytes for 2 pixels */

#define VCF_KIND_MONO 0u   /**< grey */
#define VCF_KIND_BAYER 1u  /**< a mosaic */
#define VCF_KIND_COLOUR 2u /**< RGB or BGR, three samples per pixel */
#define VCF_KIND_YUV 3u    /**< YUV, 8 bits */

#define VCF_PACKING_NONE 0u     /**< bytes or 16-bit words */
#define VCF_PACKING_10P 1u      /**< 10p */
#define VCF_PACKING_12P 2u      /**< 12p */
#define VCF_PACKING_10PACKED 3u /**< 10Packed */
#define VCF_PACKING_12PACKED 4u /**< 12Packed */
#define VCF_PACKING_10CSI2 5u   /**< CSI-2 RAW10 */
#define VCF_PACKING_12CSI2 6u   /**< CSI-2 RAW12 */

#define VCF_PHASE_NONE 0u /**< not a mosaic */
#define VCF_PHASE_GR 1u   /**< first row G R */
#define VCF_PHASE_RG 2u   /**< first row R G */
#define VCF_PHASE_GB 3u   /**< first row G B */
#define VCF_PHASE_BG 4u   /**< first row B G */

/** What is known of a format. Later versions may append fields. */
typedef struct VcfFormat {
    PixelFormat format;      /**< its code */
    const char* name;        /**< of PFNC, "BayerRG12p" */
    const char* aliases;     /**< names used elsewhere, lower case, separated by spaces; may be empty */
    uint32_t kind;           /**< VCF_KIND_... */
    uint32_t depth;          /**< significant bits per sample */
    uint32_t bits_per_pixel; /**< in a buffer, on average */
    uint32_t packing;        /**< VCF_PACKING_... */
    uint32_t phase;          /**< VCF_PHASE_... */
    uint32_t group_pixels;   /**< pixels that lie in whole bytes together or share chroma: 1, 2 or 4 */
    uint32_t group_bytes;    /**< bytes of such a group */
    PixelFormat unpacked;    /**< the format of the same samples in words; `format` itself unless packed */
} VcfFormat;

/** How many formats there are. */
VEXACAMUTL_API uint32_t VcfFormatCount(void);

/** The format at an index below VcfFormatCount; null above. */
VEXACAMUTL_API const VcfFormat* VcfFormatAt(uint32_t index);

/** The format with that code (all 32 bits); null for an unknown code. */
VEXACAMUTL_API const VcfFormat* VcfFindFormat(PixelFormat format);

/**
 * The format with that name, alias or hexadecimal code ("0x01080009"). Only
 * letters and digits are compared, without regard to case: "bayer_rg8" is BayerRG8.
 *
 * @return the code; 0 for an unknown or null name
 */
VEXACAMUTL_API PixelFormat VcfFormatNamed(const char* name);

/**
 * Up to three names nearest to a misspelt one, for example "BayerRG8 or RGB8"
 * for "rg8". Names that contain it (if it has three letters or more) come first,
 * then those that differ from it in the fewest letters. Names that differ in more
 * than half of its letters, or in more than four, are left out; the text is empty
 * if no name is near.
 *
 * @return VCF_OK; VCF_INVALID_ARGUMENT for a null name or no room
 */
VEXACAMUTL_API VcfStatus VcfNearestNames(const char* name, char* text, size_t text_bytes);

/** @} */

/**
 * @defgroup vcf_layouts Layouts
 * @{
 */

#define VCF_RANGE_FULL 0u    /**< Y, U and V use 0 to 255 */
#define VCF_RANGE_LIMITED 1u /**< Y uses 16 to 235, U and V 16 to 240 */

/** How a frame lies in a buffer. Fill it with VcfInitLayout, then change fields. */
typedef struct VcfLayout {
    PixelFormat format;   /**< code */
    uint32_t width;       /**< pixels */
    uint32_t height;      /**< rows */
    uint32_t range;       /**< VCF_RANGE_...; formats other than YUV: full */
    uint64_t stride;      /**< bytes from the start of a row to the next one; 0: rows follow without padding */
    uint64_t offset;      /**< bytes before the first row */
    uint64_t skip;        /**< pixels from `offset` to the first pixel of the frame; VcfCutRegion sets it */
    uint32_t row_width;   /**< with stride 0: pixels from one row to the next in the buffer; 0: `width` */
    uint32_t shift;       /**< 16-bit words: the sample is word >> shift; depth + shift <= 16 */
    uint32_t reserved[4]; /**< 0 */
} VcfLayout;

/** Sets format and size, and all other fields to 0. No-op for null. */
VEXACAMUTL_API void VcfInitLayout(VcfLayout* layout, PixelFormat format, uint32_t width, uint32_t height);

/**
 * Whether a layout is valid: a known format, 1 to 2^30 pixels, a stride of 0 or
 * from the bytes of a row to 2^30, whole groups of pixels that share chroma (per
 * row, or per frame without a stride), at most 2^48 bytes of `offset` and 2^48
 * pixels of `skip`, without a stride with all rows of `row_width`. Rows of
 * CSI-2 begin with whole groups: a frame lies inside rows of `row_width`.
 */
VEXACAMUTL_API VcfStatus VcfCheckLayout(const VcfLayout* layout, char* text, size_t text_bytes);

/**
 * Bytes from the start of the buffer to the end of the last pixel: the
 * shortest buffer that VcfCheckBuffer accepts; 0 for an invalid layout.
 */
VEXACAMUTL_API uint64_t VcfBytesNeeded(const VcfLayout* layout);

/** Bytes from frame to frame in a file of such frames, without `offset`, with the last row's padding; 0 if invalid. */
VEXACAMUTL_API uint64_t VcfFrameBytes(const VcfLayout* layout);

/** Bytes that the pixels of one row take, rounded up to whole bytes; 0 for an invalid layout. */
VEXACAMUTL_API uint64_t VcfRowBytes(const VcfLayout* layout);

/**
 * Whether a buffer of `length` bytes holds a frame.
 *
 * @return VCF_OK; VCF_TOO_SHORT, and the text says by how much; for an invalid
 *         layout what VcfCheckLayout returns
 */
VEXACAMUTL_API VcfStatus VcfCheckBuffer(const VcfLayout* layout, uint64_t length, char* text, size_t text_bytes);

/**
 * Cuts a region: the layout of a part of the same buffer, in the same format.
 * `x` and `y` of Bayer formats must be even; `x` and `width` of YUV formats must be
 * multiples of the pixels that share chroma.
 *
 * @param region receives the result; may be `layout` itself
 */
VEXACAMUTL_API VcfStatus VcfCutRegion(const VcfLayout* layout, uint32_t x, uint32_t y, uint32_t width, uint32_t height,
                                      VcfLayout* region, char* text, size_t text_bytes);

/** The format of a mosaic that is cut at pixel (x, y): odd offsets change the phase. Other codes stay unchanged. */
VEXACAMUTL_API PixelFormat VcfFormatAfterRegion(PixelFormat format, uint32_t x, uint32_t y);

/** The format of a mosaic of that size after a mirror left to right (not 0), upside down (not 0), or both. */
VEXACAMUTL_API PixelFormat VcfFormatAfterReversal(PixelFormat format, uint32_t width, uint32_t height, uint8_t mirror,
                                                  uint8_t upside_down);

/** @} */

/**
 * @defgroup vcf_unpacking Samples
 * @{
 */

/**
 * Writes the samples of a frame, without conversion. A sample becomes one
 * little-endian 16-bit word (sample_bytes 2, value in the low bits) or one byte
 * (sample_bytes 1, the 8 high bits of the sample). Packed colour has three samples
 * per pixel. YUV groups are copied unchanged (sample_bytes 1 only).
 *
 * @param layout       of the buffer
 * @param buffer       its first byte
 * @param length       its bytes
 * @param dst          destination
 * @param dst_stride   bytes from row to row in the destination; 0: no padding
 * @param sample_bytes 1 or 2
 */
VEXACAMUTL_API VcfStatus VcfUnpack(const VcfLayout* layout, const void* buffer, size_t length, void* dst,
                                   size_t dst_stride, uint32_t sample_bytes, char* text, size_t text_bytes);

/**
 * The inverse for Mono, Bayer and packed colour: 16-bit words to a buffer of
 * that layout. Bits of a word above the depth are dropped. Bits of the buffer
 * that belong to no pixel of the frame keep their value.
 *
 * @param layout     of the buffer
 * @param samples    words, value in the low bits
 * @param src_stride bytes from row to row of the samples; 0: no padding
 * @param buffer     receives the frame
 * @param length     its bytes
 */
VEXACAMUTL_API VcfStatus VcfPack(const VcfLayout* layout, const void* samples, size_t src_stride, void* buffer,
                                 size_t length, char* text, size_t text_bytes);

/** @} */

/**
 * @defgroup vcf_conversion Conversion
 * @{
 */

#define VCF_OUTPUT_BGRA 0u   /**< 4 bytes per pixel */
#define VCF_OUTPUT_BGR 1u    /**< 3 bytes per pixel */
#define VCF_OUTPUT_RGB 2u    /**< 3 bytes per pixel */
#define VCF_OUTPUT_RGBA 3u   /**< 4 bytes per pixel */
#define VCF_OUTPUT_GREY8 4u  /**< 1 byte per pixel */
#define VCF_OUTPUT_GREY16 5u /**< one 16-bit word per pixel */

#define VCF_DEMOSAIC_BILINEAR 0u /**< the default mode of VexaCamUtl.h */
/** ACPI of VexaCamUtl.h. Bayer of 8 bits, or of any depth with levels; even sizes of at least 4. */
#define VCF_DEMOSAIC_ADAPTIVE 1u
#define VCF_DEMOSAIC_NONE 2u /**< the mosaic as a grey picture */

#define VCF_TONE_LINEAR 0u /**< proportional to light */
#define VCF_TONE_GAMMA 1u  /**< a power of 100 / gamma */
#define VCF_TONE_SRGB 2u   /**< IEC 61966-2-1 */

#define VCF_ONE 65536u      /**< 1.0 as a gain or an exposure */
#define VCF_MATRIX_ONE 4096 /**< 1.0 in a matrix */

/** How to convert. Fill it with VcfInitSettings, then change fields. */
typedef struct VcfSettings {
    uint32_t demosaic;    /**< VCF_DEMOSAIC_... for Bayer formats; others ignore it */
    uint32_t levels;      /**< not 0: the fields up to `gamma` apply; 0: they are ignored */
    uint32_t black_level; /**< in units of a sample, below its largest value */
    uint32_t gain[3];     /**< red, green, blue; VCF_ONE is 1.0; at most 16.0 each */
    uint32_t exposure;    /**< VCF_ONE is 1.0; at most 16.0 */
    uint32_t tone;        /**< VCF_TONE_... */
    uint32_t gamma;       /**< for VCF_TONE_GAMMA: hundredths, 10 to 1000; 220 is 2.2 */
    uint32_t use_matrix;  /**< not 0: the matrix applies, to outputs with colour */
    int32_t matrix[9];    /**< rows R', G', B'; VCF_MATRIX_ONE is 1.0; at least -8.0, below 8.0 */
    uint32_t reserved[5]; /**< 0 */
} VcfSettings;

/** Sets all fields: bilinear, levels and matrix off, all gains and the matrix 1.0, gamma 2.2. No-op for null. */
VEXACAMUTL_API void VcfInitSettings(VcfSettings* settings);

/** A layout, an output and settings, with all the memory that a conversion needs. */
typedef struct VcfConverter VcfConverter;

/**
 * Makes a converter.
 *
 * @param converter receives it; null on failure
 * @param layout    of all buffers that follow; it is copied
 * @param output    VCF_OUTPUT_...
 * @param settings  copied; null: as VcfInitSettings makes them
 * @return VCF_OK; VCF_NO_MEMORY; what VcfCheckLayout returns; VCF_UNSUPPORTED
 *         for levels of YUV, and for VCF_DEMOSAIC_ADAPTIVE of more than 8 bits
 *         without levels, of odd sizes or of less than 4 rows or columns;
 *         VCF_INVALID_ARGUMENT for settings outside their limits
 */
VEXACAMUTL_API VcfStatus VcfCreateConverter(VcfConverter** converter, const VcfLayout* layout, uint32_t output,
                                            const VcfSettings* settings, char* text, size_t text_bytes);

/** Frees a converter. No-op for null. */
VEXACAMUTL_API void VcfDestroyConverter(VcfConverter* converter);

/** Changes the settings for the frames that follow, without an allocation. On failure the old ones stay. */
VEXACAMUTL_API VcfStatus VcfChangeSettings(VcfConverter* converter, const VcfSettings* settings, char* text,
                                           size_t text_bytes);

/** Bytes of one row of the picture, without padding; 0 for null. */
VEXACAMUTL_API size_t VcfPictureRowBytes(const VcfConverter* converter);

/**
 * Converts a frame.
 *
 * @param converter  made for the layout of the buffer
 * @param buffer     first byte of the buffer; only read, not overlapping dst
 * @param length     its bytes; more than needed is allowed
 * @param dst        first byte of the picture
 * @param dst_stride bytes from row to row of the picture; 0: no padding
 * @return VCF_OK; VCF_TOO_SHORT; VCF_BAD_STRIDE; VCF_INVALID_ARGUMENT for null
 */
VEXACAMUTL_API VcfStatus VcfConvert(VcfConverter* converter, const void* buffer, size_t length, void* dst,
                                    size_t dst_stride, char* text, size_t text_bytes);

/**
 * Converts some rows of a frame, with the same bytes as VcfConvert. Several
 * threads, each with a converter of its own, can thus share a frame in bands.
 * Bands of 64 rows and more are fastest.
 *
 * @param first_row any row
 * @param row_count any number up to the height; only these rows are written
 * @param dst       first byte of the picture's row 0, for every first_row
 */
VEXACAMUTL_API VcfStatus VcfConvertRows(VcfConverter* converter, const void* buffer, size_t length, void* dst,
                                        size_t dst_stride, uint32_t first_row, uint32_t row_count, char* text,
                                        size_t text_bytes);

/** @} */

/**
 * @defgroup vcf_balance White balance
 * @{
 */

/** What VcfEstimateBalance found. */
typedef struct VcfBalance {
    uint32_t gain[3];   /**< red, green, blue for VcfSettings; the smallest is VCF_ONE, none is above 16.0 */
    uint32_t reserved0; /**< 0 */
    uint64_t used;      /**< cells that count */
    uint64_t clipped;   /**< cells left out because a sample is clipped */
    uint64_t sum[3];    /**< sums over the cells that count, black level subtracted; green of Bayer: of both sites */
} VcfBalance;

/**
 * Grey world: the gains that make the mean of a frame grey.
 *
 * A cell is 2 x 2 samples of a mosaic (starting at even rows and columns) or one
 * pixel of packed colour. Cells with a clipped sample, one of at least
 * W - (W >> 6) with W = 2^depth - 1, are left out. sum[c] is the sum of
 * max(0, sample - black_level) over the cells, halved (rounded down) for the
 * green of Bayer:
 *
 *     gain[c] = min(16 * 65536, (largest * 65536 + sum[c] / 2) / sum[c])
 *
 * To follow a live stream smoothly, mix the gains with those of earlier frames.
 *
 * @param layout      Bayer (at least 2 x 2) or packed colour
 * @param buffer      as for VcfConvert
 * @param length      as for VcfConvert
 * @param black_level as in VcfSettings
 * @param step        1: all cells; n: every n-th cell of every n-th row of cells
 * @param balance     receives the result
 * @return VCF_OK; VCF_NO_ESTIMATE when a sum is 0 (the gains are then 1.0);
 *         VCF_UNSUPPORTED for Mono and YUV; else as VcfCheckBuffer
 */
VEXACAMUTL_API VcfStatus VcfEstimateBalance(const VcfLayout* layout, const void* buffer, size_t length,
                                            uint32_t black_level, uint32_t step, VcfBalance* balance, char* text,
                                            size_t text_bytes);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
