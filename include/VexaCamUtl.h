/* SPDX-License-Identifier: MIT
 * Copyright (c) the Vexa camera utility library authors
 */
/**
 * @file
 * The whole public interface of libVexaCamUtl_64.so.1.
 *
 * The library turns the raw frame of an industrial camera (grey, Bayer mosaic,
 * packed RGB/BGR or YUV) into a BGRA or BGR picture, saves pictures and raw
 * frames, mirrors raw frames and answers questions about pixel formats. These
 * are plain C functions; the header serves C99 and C++ alike.
 *
 *
 * ## A first program
 *
 *     #include <VexaCamUtl.h>
 *     #include <stdlib.h>
 *
 *     int save_picture(const uint8_t *raw, uint32_t width, uint32_t height)
 *     {
 *         uint8_t *bgra = malloc((size_t)width * height * 4);
 *         UtlStatus status = UTL_STS_INVALID_PARAMETER;
 *         PrepareLUT();                               // once per process
 *         if (bgra != NULL)
 *             status = ConvImage(CONV_DST_BGRA, PIXEL_FORMAT_BAYER_RG8, 1,
 *                                bgra, raw, width, height);
 *         if (status == UTL_STS_SUCCESS)
 *             status = SaveBmpARGB(bgra, width, height, "picture.bmp");
 *         free(bgra);
 *         return status == UTL_STS_SUCCESS ? 0 : 1;
 *     }
 *
 * Link with -lVexaCamUtl_64, or what pkg-config vexacamutl says, or the CMake
 * target VexaCamUtl::VexaCamUtl.
 *
 *
 * ## Pictures out
 *
 * Rows follow each other without padding, top row first.
 *
 *     BGRA, 4 bytes a pixel   | B0 G0 R0 FF | B1 G1 R1 FF | ...   (alpha is 255)
 *     BGR,  3 bytes a pixel   | B0 G0 R0 | B1 G1 R1 | ...
 *
 * A destination holds width * height * 4 (BGRA) or * 3 (BGR) bytes.
 *
 *
 * ## Frames in
 *
 * Rows follow each other without padding, top row first. Formats of 10, 12 and
 * 16 bits hold one little-endian 16-bit word per sample with the value in its
 * low bits; the packed 10/12-bit transport layouts have to be unpacked first.
 *
 *     Mono8                | Y0 | Y1 | Y2 | ...
 *     Mono10/12/16         | Y0 lo, Y0 hi | Y1 lo, Y1 hi | ...
 *     RGB8                 | R0 G0 B0 | R1 G1 B1 | ...
 *     BGR8                 | B0 G0 R0 | B1 G1 R1 | ...
 *     BGR10/12, RGB10/12   as BGR8 and RGB8, each sample a 16-bit word
 *     Bayer8, Bayer10/12   one sample a pixel, the first two rows being
 *
 *         BayerGR  G R G R ..   BayerRG  R G R G ..
 *                  B G B G ..            G B G B ..
 *
 *         BayerGB  G B G B ..   BayerBG  B G B G ..
 *                  R G R G ..            G R G R ..
 *
 *     YUV411_8_UYYVYY      | U Y0 Y1 V Y2 Y3 | ...   6 bytes for 4 pixels
 *     YUV422_8_UYVY        | U Y0 V Y1 | ...         4 bytes for 2 pixels
 *     YUV8_UYV             | U Y V | ...             3 bytes a pixel
 *
 *
 * ## Which bytes a source buffer must hold
 *
 * width * height * BitPerPixel(format) / 8 bytes, except where a converter
 * reads wider groups:
 *
 *     ConvYUV422PToBGR     | U Y0 V Y1 -- | ...      5 bytes for 2 pixels
 *     ConvYUV444PToBGRA,
 *     ConvYUV444PToBGR     | U Y V -- | ...          4 bytes a pixel
 *
 * The byte shown as -- is skipped. A plain UYVY frame is therefore converted to
 * BGR through BGRA, and a 3-byte UYV frame is spread to 4 bytes before the call.
 *
 *
 * ## Rules that hold for every function
 *
 * Statuses. What can fail returns a UtlStatus; 0 is success. A null destination
 * or source is UTL_STS_INVALID_PARAMETER, tested before anything else, and
 * nothing is written. Sizes, strides and buffer lengths are the caller's to get
 * right: buffer lengths are not passed and nothing of this can be tested.
 *
 * Arithmetic. Samples of more than 8 bits are shifted right and the low 8 bits
 * of the result are kept: a sample above its depth wraps, it does not saturate.
 * Means are truncated.
 *
 * Flags are one byte each. The Bayer flag of ConvImage and of the getters is
 * set when its byte is not 0; the two flags of ReverseImg only when the byte is
 * exactly 1.
 *
 * Buffers belong to the caller. Only LoadRWH may allocate for its caller, with
 * malloc(); release that block with free(). Source and destination of one call
 * must not overlap. No alignment is asked for, neither of bytes nor of 16-bit
 * samples (the pointers are untyped); multiples of 64 are fastest.
 *
 * Threads. There are no locks and no threads inside. Everything may be called
 * from any thread at any time, on different destinations and different files;
 * let the first call of PrepareLUT return before other threads start the
 * conversions that need it. Nothing has to be shut down.
 *
 * Memory. No function but LoadRWH hands out memory, and none keeps any. What a
 * call needs beside its buffers does not grow with the picture: a few hundred
 * bytes of stack, about 50 KiB in the ACPI converters, 64 KiB in the bitmap
 * writers.
 *
 * Exceptions. Converters, queries and ReverseImg never throw and never
 * allocate. The file functions may let an exception of the C++ runtime pass to
 * the caller (std::bad_alloc while the stream is set up); each says when.
 */
#ifndef VEXACAMUTL_H
#define VEXACAMUTL_H

#include <stdint.h>

/** Version of this header. The shared object's SONAME carries the major number. */
#define VEXACAMUTL_VERSION_MAJOR 1
#define VEXACAMUTL_VERSION_MINOR 0 /**< grows with additions that old callers do not notice */
#define VEXACAMUTL_VERSION_PATCH 0 /**< grows with corrections */

/** Marks what the shared object exports. */
#if defined(__GNUC__)
#define VEXACAMUTL_API __attribute__((visibility("default")))
#else
#define VEXACAMUTL_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup formats Pixel formats
 * Codes, and questions about them. Codes and names are those of the GenICam
 * Pixel Format Naming Convention (PFNC), as cameras report them.
 * @{
 */

/**
 * A PFNC pixel-format code. Bits 16 to 23 hold the number of bits that one
 * pixel takes in a frame.
 */
typedef uint32_t PixelFormat;

#define PIXEL_FORMAT_MONO8 0x01080001u           /**< grey, 8 bits */
#define PIXEL_FORMAT_MONO10 0x01100003u          /**< grey, 10 bits in 16 */
#define PIXEL_FORMAT_MONO12 0x01100005u          /**< grey, 12 bits in 16 */
#define PIXEL_FORMAT_MONO16 0x01100007u          /**< grey, 16 bits */
#define PIXEL_FORMAT_BAYER_GR8 0x01080008u       /**< Bayer, first row G R */
#define PIXEL_FORMAT_BAYER_RG8 0x01080009u       /**< Bayer, first row R G */
#define PIXEL_FORMAT_BAYER_GB8 0x0108000Au       /**< Bayer, first row G B */
#define PIXEL_FORMAT_BAYER_BG8 0x0108000Bu       /**< Bayer, first row B G */
#define PIXEL_FORMAT_BAYER_GR10 0x0110000Cu      /**< as GR8, 10 bits in 16 */
#define PIXEL_FORMAT_BAYER_RG10 0x0110000Du      /**< as RG8, 10 bits in 16 */
#define PIXEL_FORMAT_BAYER_GB10 0x0110000Eu      /**< as GB8, 10 bits in 16 */
#define PIXEL_FORMAT_BAYER_BG10 0x0110000Fu      /**< as BG8, 10 bits in 16 */
#define PIXEL_FORMAT_BAYER_GR12 0x01100010u      /**< as GR8, 12 bits in 16 */
#define PIXEL_FORMAT_BAYER_RG12 0x01100011u      /**< as RG8, 12 bits in 16 */
#define PIXEL_FORMAT_BAYER_GB12 0x01100012u      /**< as GB8, 12 bits in 16 */
#define PIXEL_FORMAT_BAYER_BG12 0x01100013u      /**< as BG8, 12 bits in 16 */
#define PIXEL_FORMAT_RGB8 0x02180014u            /**< bytes R, G, B */
#define PIXEL_FORMAT_BGR8 0x02180015u            /**< bytes B, G, R */
#define PIXEL_FORMAT_RGB10 0x02300018u           /**< words R, G, B, 10 bits */
#define PIXEL_FORMAT_BGR10 0x02300019u           /**< words B, G, R, 10 bits */
#define PIXEL_FORMAT_RGB12 0x0230001Au           /**< words R, G, B, 12 bits */
#define PIXEL_FORMAT_BGR12 0x0230001Bu           /**< words B, G, R, 12 bits */
#define PIXEL_FORMAT_YUV411_8_UYYVYY 0x020C001Eu /**< 4:1:1, 6 bytes for 4 pixels */
#define PIXEL_FORMAT_YUV422_8_UYVY 0x0210001Fu   /**< 4:2:2, 4 bytes for 2 pixels */
#define PIXEL_FORMAT_YUV8_UYV 0x02180020u        /**< 4:4:4 */

/**
 * Bits that one pixel takes in a frame.
 *
 * @param format any code, known or not
 * @return bits 16 to 23 of the code: 16 for Mono10 (its samples lie in 16-bit
 *         words), 12 for YUV411_8_UYYVYY, at most 255
 */
VEXACAMUTL_API uint32_t BitPerPixel(PixelFormat format);

/**
 * Significant bits per sample.
 *
 * @param format any code; all 32 bits are compared
 * @return 8, 10, 12 or 16; 0 for a code that is not one of the 22 catalogued
 *         formats, which are those above without RGB10, RGB12 and BGR12
 */
VEXACAMUTL_API uint8_t DataDepth(PixelFormat format);

/**
 * Whether a format is grey.
 *
 * @param format any code; all 32 bits are compared
 * @return 1 for the four Mono formats and, mind, for every code that is not
 *         catalogued (see DataDepth); 0 for Bayer, packed colour and YUV
 */
VEXACAMUTL_API uint8_t IsMonochromic(PixelFormat format);

/**
 * Whether a format is a Bayer mosaic.
 *
 * @param format any code; all 32 bits are compared
 * @return 1 for the twelve Bayer formats, 0 for everything else
 */
VEXACAMUTL_API uint8_t IsPixelBayer(PixelFormat format);

/** @} */

/**
 * @defgroup statuses Statuses
 * @{
 */

/** What an operation returns; 0 is success. */
typedef uint32_t UtlStatus;

#define UTL_STS_SUCCESS 0u                     /**< done */
#define UTL_STS_INVALID_PARAMETER 13u          /**< null buffer, or no converter for the format */
#define UTL_STS_NOT_INITIALIZED 21u            /**< PrepareLUT has to be called first */
#define UTL_STS_FILE_OPEN_ERROR 0x2001u        /**< the file could not be opened */
#define UTL_STS_FILE_IO_ERROR 0x2002u          /**< an exception while a file was written */
#define UTL_STS_FILE_READ_ERROR 0x2003u        /**< an exception, or no memory, while a file was read */
#define UTL_STS_UNSUPPORTED_FORMAT 0xFFFFFFFFu /**< ReverseImg does not handle this format */

/** @} */

/**
 * @defgroup conversion Choosing and running a converter
 * @{
 */

/** How 8-bit Bayer frames are demosaiced when colour is asked for. */
typedef uint32_t BayerConvMode;

#define BAYER_CONV_MODE_DEFAULT 0u /**< bilinear; so is every value other than 1 */
#define BAYER_CONV_MODE_ACPI 1u    /**< adaptive colour-plane interpolation, 8-bit formats only */

/** The kind of picture that ConvImage writes. */
typedef uint32_t ConvDstFormat;

#define CONV_DST_BGRA 0u /**< 4 bytes a pixel; so is every value other than 1 */
#define CONV_DST_BGR 1u  /**< 3 bytes a pixel */

/**
 * A converter: writes width * height pixels to dst from the frame at src.
 *
 * Grey, packed-colour and YUV frames are one run of width * height pixels (a
 * product modulo 2^32), so only the product of the sizes matters; 0 pixels are
 * a success that writes nothing. Bayer converters are meant for even sizes of
 * at least 2 (ACPI: 4); with other sizes they stay inside both buffers, and
 * what they write near the border is the plain mean of what is there.
 *
 * @param dst    destination, width * height * 4 (BGRA) or * 3 (BGR) bytes
 * @param src    frame, rows without padding, laid out as the format says; only
 *               read, and not overlapping dst
 * @param width  in pixels
 * @param height in rows
 * @return UTL_STS_SUCCESS; UTL_STS_INVALID_PARAMETER if dst or src is null,
 *         whatever the size; UTL_STS_NOT_INITIALIZED before PrepareLUT from the
 *         Mono-to-BGRA and the YUV converters, whatever the size. Nothing is
 *         written unless the status is UTL_STS_SUCCESS.
 */
typedef UtlStatus (*ConverterFunc)(void* dst, const void* src, uint32_t width, uint32_t height);

/**
 * Fills the tables that the Mono-to-BGRA and the YUV converters ask for. Call
 * it once, before those; calling it again is harmless, also while others
 * convert.
 *
 * @return UTL_STS_SUCCESS, always
 */
VEXACAMUTL_API UtlStatus PrepareLUT(void);

/**
 * Chooses the demosaic that the getters and ConvImage hand out for the four
 * 8-bit Bayer formats from now on, for the whole process. A converter already
 * handed out does not change.
 *
 * @param mode BAYER_CONV_MODE_ACPI; any other value means the default
 * @return UTL_STS_SUCCESS, always
 */
VEXACAMUTL_API UtlStatus SetBayerConvMode(BayerConvMode mode);

/**
 * The converter from a pixel format to BGRA.
 *
 * @param format all 32 bits are compared. All the formats above are served
 *               except RGB10 and RGB12, whose converters are called by name.
 * @param bayer  not 0: Bayer frames are demosaiced; 0: they are shown as a
 *               grey picture of the mosaic. Ignored for other formats.
 * @return the converter, to be kept as long as you like; null when the format
 *         has none
 */
VEXACAMUTL_API ConverterFunc GetBGRAConverter(PixelFormat format, uint8_t bayer);

/**
 * As GetBGRAConverter, for BGR pictures.
 *
 * @param format as there
 * @param bayer  as there
 * @return as there
 */
VEXACAMUTL_API ConverterFunc GetBGRConverter(PixelFormat format, uint8_t bayer);

/**
 * Chooses the converter and runs it.
 *
 * @param dst_format CONV_DST_BGR, or CONV_DST_BGRA as any other value
 * @param format     of the frame; see GetBGRAConverter
 * @param bayer      not 0: demosaic Bayer frames; 0: show the mosaic in grey
 * @param dst        as for the converter, see ConverterFunc
 * @param src        as for the converter
 * @param width      in pixels
 * @param height     in rows
 * @return what the converter returned (see ConverterFunc), or
 *         UTL_STS_INVALID_PARAMETER when the format has none
 */
VEXACAMUTL_API UtlStatus ConvImage(ConvDstFormat dst_format, PixelFormat format, uint8_t bayer, void* dst,
                                   const void* src, uint32_t width, uint32_t height);

/** @} */

/**
 * @defgroup grey Converters: grey
 * One sample g gives B = G = R = g. Arguments and statuses of every converter,
 * here and below, are those of ConverterFunc.
 *
 * To BGRA they need PrepareLUT; to BGR they do not. The workers named with an N
 * take the right shift that brings a 16-bit sample to 8 bits: its low 8 bits
 * count, modulo 32. The 10-, 12- and 16-bit functions pass 2, 4 and 8.
 * @{
 */

/** Mono8 to BGRA: 1 byte in, 4 bytes out a pixel; needs PrepareLUT. */
VEXACAMUTL_API UtlStatus ConvMono8ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** Mono10 to BGRA: one 16-bit word in, 4 bytes out a pixel; needs PrepareLUT. */
VEXACAMUTL_API UtlStatus ConvMono10ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** Mono12 to BGRA: one 16-bit word in, 4 bytes out a pixel; needs PrepareLUT. */
VEXACAMUTL_API UtlStatus ConvMono12ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** Mono16 to BGRA: one 16-bit word in, 4 bytes out a pixel; needs PrepareLUT. */
VEXACAMUTL_API UtlStatus ConvMono16ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** Mono8 to BGR: 1 byte in, 3 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvMono8ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** Mono10 to BGR: one 16-bit word in, 3 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvMono10ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** Mono12 to BGR: one 16-bit word in, 3 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvMono12ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** Mono16 to BGR: one 16-bit word in, 3 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvMono16ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);

/** Grey of 16-bit samples, shifted, to BGRA: one 16-bit word in, 4 bytes out a pixel; needs PrepareLUT. */
VEXACAMUTL_API UtlStatus ConvMonoNToBGRA(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);
/** Grey of 16-bit samples, shifted, to BGR: one 16-bit word in, 3 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvMonoNToBGR(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);

/** @} */

/**
 * @defgroup packed Converters: packed colour
 * P stands for packed; the order in the name is the order of the samples in
 * memory. Shifts as for grey.
 *
 * ConvBGR8PToBGR copies width * (height * 3) bytes, a product modulo 2^32; the
 * others count pixels modulo 2^32.
 * @{
 */

/** RGB8 to BGRA: 3 bytes in, 4 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvRGB8PToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** RGB10 to BGRA: three 16-bit words in, 4 bytes out a pixel; to be called by name only. */
VEXACAMUTL_API UtlStatus ConvRGB10PToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** RGB12 to BGRA: three 16-bit words in, 4 bytes out a pixel; to be called by name only. */
VEXACAMUTL_API UtlStatus ConvRGB12PToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** BGR8 to BGRA: 3 bytes in, 4 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvBGR8PToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** BGR10 to BGRA: three 16-bit words in, 4 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvBGR10PToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** BGR12 to BGRA: three 16-bit words in, 4 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvBGR12PToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** RGB8 to BGR: 3 bytes in, 3 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvRGB8PToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** RGB10 to BGR: three 16-bit words in, 3 bytes out a pixel; to be called by name only. */
VEXACAMUTL_API UtlStatus ConvRGB10PToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** RGB12 to BGR: three 16-bit words in, 3 bytes out a pixel; to be called by name only. */
VEXACAMUTL_API UtlStatus ConvRGB12PToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** BGR8 to BGR: 3 bytes in, 3 bytes out a pixel, copied as one block. */
VEXACAMUTL_API UtlStatus ConvBGR8PToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** BGR10 to BGR: three 16-bit words in, 3 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvBGR10PToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** BGR12 to BGR: three 16-bit words in, 3 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvBGR12PToBGR(void* dst, const void* src, uint32_t width, uint32_t height);

/** RGB of 16-bit samples, shifted, to BGRA: three 16-bit words in, 4 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvRGBNToBGRA(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);
/** BGR of 16-bit samples, shifted, to BGRA: three 16-bit words in, 4 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvBGRNToBGRA(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);
/** RGB of 16-bit samples, shifted, to BGR: three 16-bit words in, 3 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvRGBNToBGR(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);
/** BGR of 16-bit samples, shifted, to BGR: three 16-bit words in, 3 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvBGRNToBGR(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);

/** @} */

/**
 * @defgroup yuv Converters: YUV
 * Full range (Y is taken as it is), coefficients of ITU-R BT.601 as JFIF uses
 * them:
 *
 *     R = Y + 1.402 (V - 128)
 *     G = Y - 0.344 (U - 128) - 0.714 (V - 128)
 *     B = Y + 1.772 (U - 128)                      rounded, limited to 0..255
 *
 * The part of U and V in G is rounded by itself, in single precision.
 * All need PrepareLUT. Chroma is used as it is for every pixel of its group.
 * The groups that they read, and the bytes that they skip (--):
 *
 *     ConvYUV411PToBGRA, ConvYUV411PToBGR   | U Y0 Y1 V Y2 Y3 |  4 pixels
 *     ConvYUV422PToBGRA                     | U Y0 V Y1 |        2 pixels
 *     ConvYUV422PToBGR                      | U Y0 V Y1 -- |     2 pixels
 *     ConvYUV444PToBGRA, ConvYUV444PToBGR   | U Y V -- |         1 pixel
 *
 * Pixels left over when width * height is no multiple of the group stay as they
 * were in the destination.
 * @{
 */

/** YUV411_8_UYYVYY to BGRA: 6 bytes in, 16 bytes out for 4 pixels; needs PrepareLUT. */
VEXACAMUTL_API UtlStatus ConvYUV411PToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** YUV422_8_UYVY to BGRA: 4 bytes in, 8 bytes out for 2 pixels; needs PrepareLUT. */
VEXACAMUTL_API UtlStatus ConvYUV422PToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** YUV8_UYV to BGRA: 4 bytes in (mind), 4 bytes out a pixel; needs PrepareLUT. */
VEXACAMUTL_API UtlStatus ConvYUV444PToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** YUV411_8_UYYVYY to BGR: 6 bytes in, 12 bytes out for 4 pixels; needs PrepareLUT. */
VEXACAMUTL_API UtlStatus ConvYUV411PToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** YUV422_8_UYVY to BGR: 5 bytes in (mind), 6 bytes out for 2 pixels; needs PrepareLUT. */
VEXACAMUTL_API UtlStatus ConvYUV422PToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** YUV8_UYV to BGR: 4 bytes in (mind), 3 bytes out a pixel; needs PrepareLUT. */
VEXACAMUTL_API UtlStatus ConvYUV444PToBGR(void* dst, const void* src, uint32_t width, uint32_t height);

/** @} */

/**
 * @defgroup bayer Converters: Bayer, default mode
 * Bilinear. A pixel keeps its own sample; each missing colour is the truncated
 * mean of the nearest samples of that colour:
 *
 *     at a red or blue site      at a green site
 *        d  g  d                    .  v  .
 *        g  X  g                    h  G  h
 *        d  g  d                    .  v  .
 *
 * green from the four g, the opposite colour from the four d; the two colours
 * at a green site from the two h and the two v. Neighbours outside the picture
 * are left out of the mean (and where none is left, which needs a picture of
 * one row or column, the pixel's own sample stands in).
 *
 * With 10 and 12 bits the mean is taken at full depth and shifted afterwards,
 * by 2 and by 4. The workers named with an N take that shift: its low 8 bits
 * count, and 0 to 29 are useful.
 *
 * White balance, black level, colour correction and gamma are left to the
 * caller. None of these functions needs PrepareLUT.
 * @{
 */

/** BayerGR8 to BGRA, bilinear: 1 byte in, 4 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrGR8ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerRG8 to BGRA, bilinear: 1 byte in, 4 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrRG8ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerGB8 to BGRA, bilinear: 1 byte in, 4 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrGB8ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerBG8 to BGRA, bilinear: 1 byte in, 4 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrBG8ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerGR8 to BGR, bilinear: 1 byte in, 3 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrGR8ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerRG8 to BGR, bilinear: 1 byte in, 3 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrRG8ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerGB8 to BGR, bilinear: 1 byte in, 3 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrGB8ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerBG8 to BGR, bilinear: 1 byte in, 3 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrBG8ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);

/** BayerGR10 to BGRA, bilinear: one 16-bit word in, 4 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrGR10ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerRG10 to BGRA, bilinear: one 16-bit word in, 4 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrRG10ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerGB10 to BGRA, bilinear: one 16-bit word in, 4 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrGB10ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerBG10 to BGRA, bilinear: one 16-bit word in, 4 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrBG10ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerGR10 to BGR, bilinear: one 16-bit word in, 3 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrGR10ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerRG10 to BGR, bilinear: one 16-bit word in, 3 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrRG10ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerGB10 to BGR, bilinear: one 16-bit word in, 3 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrGB10ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerBG10 to BGR, bilinear: one 16-bit word in, 3 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrBG10ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);

/** BayerGR12 to BGRA, bilinear: one 16-bit word in, 4 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrGR12ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerRG12 to BGRA, bilinear: one 16-bit word in, 4 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrRG12ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerGB12 to BGRA, bilinear: one 16-bit word in, 4 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrGB12ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerBG12 to BGRA, bilinear: one 16-bit word in, 4 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrBG12ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerGR12 to BGR, bilinear: one 16-bit word in, 3 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrGR12ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerRG12 to BGR, bilinear: one 16-bit word in, 3 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrRG12ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerGB12 to BGR, bilinear: one 16-bit word in, 3 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrGB12ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerBG12 to BGR, bilinear: one 16-bit word in, 3 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrBG12ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);

/** BayerGR of 16-bit samples, shifted, to BGRA, bilinear: one 16-bit word in, 4 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrGRNToBGRA(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);
/** BayerRG of 16-bit samples, shifted, to BGRA, bilinear: one 16-bit word in, 4 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrRGNToBGRA(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);
/** BayerGB of 16-bit samples, shifted, to BGRA, bilinear: one 16-bit word in, 4 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrGBNToBGRA(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);
/** BayerBG of 16-bit samples, shifted, to BGRA, bilinear: one 16-bit word in, 4 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrBGNToBGRA(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);
/** BayerGR of 16-bit samples, shifted, to BGR, bilinear: one 16-bit word in, 3 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrGRNToBGR(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);
/** BayerRG of 16-bit samples, shifted, to BGR, bilinear: one 16-bit word in, 3 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrRGNToBGR(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);
/** BayerGB of 16-bit samples, shifted, to BGR, bilinear: one 16-bit word in, 3 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrGBNToBGR(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);
/** BayerBG of 16-bit samples, shifted, to BGR, bilinear: one 16-bit word in, 3 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrBGNToBGR(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);

/** @} */

/**
 * @defgroup acpi Converters: Bayer, ACPI mode
 * Adaptive colour-plane interpolation, 8 bits.
 *
 * Green is interpolated along the direction of the smaller gradient and
 * corrected by the second difference of the site's own colour; red and blue
 * follow from colour differences against that green. Two pixels around the
 * border are plain means (on the outermost ring, green from its neighbours
 * along the border only). Sharper edges and far less colour fringing than the
 * default mode, at a higher cost.
 *
 * Meant for even widths and heights of at least 4. Of an odd height the last
 * row stays untouched. None of these functions needs PrepareLUT.
 *
 * Some values are fixed by compatibility with pictures already taken:
 *
 * - RG frames, first column, even rows from 2 to height - 4: blue is the mean
 *   of the samples above and below;
 * - GR frames, last column, even rows from 2 to height - 4: likewise;
 * - BG frames, last column, odd rows from 3 to height - 3: green is the mean of
 *   the three neighbours above, below and to the left;
 * - ConvByrBG8ToBGRAACPI leaves the red byte of the last pixel of row 1 as it
 *   was;
 * - RG frames, blue at red sites inside, when both diagonals are equally good:
 *   rounded and wrapped to 8 bits instead of limited to 0..255.
 * @{
 */

/** BayerGR8 to BGRA, ACPI: 1 byte in, 4 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrGR8ToBGRAACPI(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerRG8 to BGRA, ACPI: 1 byte in, 4 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrRG8ToBGRAACPI(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerGB8 to BGRA, ACPI: 1 byte in, 4 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrGB8ToBGRAACPI(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerBG8 to BGRA, ACPI: 1 byte in, 4 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrBG8ToBGRAACPI(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerGR8 to BGR, ACPI: 1 byte in, 3 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrGR8ToBGRACPI(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerRG8 to BGR, ACPI: 1 byte in, 3 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrRG8ToBGRACPI(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerGB8 to BGR, ACPI: 1 byte in, 3 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrGB8ToBGRACPI(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerBG8 to BGR, ACPI: 1 byte in, 3 bytes out a pixel. */
VEXACAMUTL_API UtlStatus ConvByrBG8ToBGRACPI(void* dst, const void* src, uint32_t width, uint32_t height);

/** @} */

/**
 * @defgroup reversal Mirroring and turning raw frames
 * @{
 */

/**
 * Copies a raw frame and on the way mirrors it left to right, turns it upside
 * down, or both (a half turn).
 *
 * Served are Mono8/10/12/16, all Bayer formats, RGB8, BGR8, RGB10, BGR10,
 * BGR12, YUV411_8_UYYVYY and YUV422_8_UYVY. A row takes width *
 * BitPerPixel(format) / 8 bytes, rounded down. The YUV formats move whole
 * groups (4 and 2 pixels) and turn the luma order inside, so their width has
 * to be a multiple of the group to be mirrored or half-turned.
 *
 * A Bayer frame's phase changes with its first pixel: mirroring an even width
 * exchanges GR with RG and GB with BG, turning an even height upside down
 * exchanges GR with BG and RG with GB. The caller keeps count of that.
 *
 * A half turn of more than 2^31 pixels (a product modulo 2^32) of any format
 * but YUV writes nothing and succeeds.
 *
 * @param dst         destination, as large as the frame, not overlapping it
 * @param src         frame
 * @param format      of the frame
 * @param width       in pixels
 * @param height      in rows
 * @param mirror      1: mirror left to right; any other value: do not
 * @param upside_down 1: turn upside down; any other value: do not
 * @return UTL_STS_SUCCESS; UTL_STS_INVALID_PARAMETER for a null dst or src;
 *         UTL_STS_UNSUPPORTED_FORMAT for any other format, RGB12 and YUV8_UYV
 *         among them. Nothing is written unless the status is UTL_STS_SUCCESS.
 */
VEXACAMUTL_API UtlStatus ReverseImg(void* dst, const void* src, PixelFormat format, uint32_t width, uint32_t height,
                                    uint8_t mirror, uint8_t upside_down);

/** @} */

/**
 * @defgroup bitmap Bitmap files
 * Bitmaps in the BMP manner ("BM", bottom-up rows padded to 4 bytes) with the
 * library's own header: every 32-bit field of the common BMP headers is 64 bits
 * wide, so common viewers do not read them. All fields are little-endian.
 *
 *     0    22-byte file header    "BM", file size (8), 0 (4), pixel offset (8)
 *     22   80-byte info header
 *     102  grey palette, 256 * (B, G, R, 0), in 8-bit files only
 *     102 or 1126                 rows, bottom row first
 *
 *     offset  22: 80 (8)      30: width (8)         38: height (8)
 *             46: 1 (2)       48: bits a pixel (2)  50: 0 (4)      54: 0 (8)
 *             62: bytes of all rows, modulo 2^32 (8)
 *             70, 78: pixels a metre, 16000 or, in 8-bit files, 160000 (8, 8)
 *             86, 94: palette entries, 0 or 256 (8, 8)
 *
 * Pixel bytes are written as they are. Any size is accepted, 0 included. An
 * existing file is replaced.
 *
 * Mind: a write or close that fails without an exception (disk full) is not
 * reported. Where that matters, compare the file's size with 102 (8-bit files:
 * 1126) + height * the row's bytes rounded up to a multiple of 4.
 *
 * An exception passes to the caller only if it is thrown while the stream is
 * constructed, before the file is opened.
 * @{
 */

/**
 * Saves a picture of 4 bytes a pixel, as the BGRA converters write them.
 *
 * @param picture first byte of the top row; rows without padding
 * @param width   in pixels
 * @param height  in rows
 * @param path    handed to the file system as it is
 * @return UTL_STS_SUCCESS, mind: also when a write or the close fails;
 *         UTL_STS_INVALID_PARAMETER for a null picture, no file touched;
 *         UTL_STS_FILE_OPEN_ERROR when the file cannot be opened, a null path
 *         included; UTL_STS_FILE_IO_ERROR for an exception while opening,
 *         writing or closing
 */
VEXACAMUTL_API UtlStatus SaveBmpARGB(const void* picture, uint32_t width, uint32_t height, const char* path);
/** 3 bytes a pixel, as the BGR converters write them. @copydetails SaveBmpARGB */
VEXACAMUTL_API UtlStatus SaveBmpRGB(const void* picture, uint32_t width, uint32_t height, const char* path);
/** 1 byte a pixel, grey. @copydetails SaveBmpARGB */
VEXACAMUTL_API UtlStatus SaveBmpMono(const void* picture, uint32_t width, uint32_t height, const char* path);
/**
 * SaveBmpARGB for rows that do not follow each other directly.
 *
 * @param picture first byte of the top row
 * @param width   in pixels
 * @param height  in rows
 * @param stride  bytes from the start of one row to the start of the next one
 *                below it; not compared with the width, 0 repeats the top row
 * @param path    handed to the file system as it is
 * @return as SaveBmpARGB
 */
VEXACAMUTL_API UtlStatus SaveBmpARGB_S(const void* picture, uint32_t width, uint32_t height, uint32_t stride,
                                       const char* path);
/** SaveBmpRGB with a stride in bytes. @copydetails SaveBmpARGB_S */
VEXACAMUTL_API UtlStatus SaveBmpRGB_S(const void* picture, uint32_t width, uint32_t height, uint32_t stride,
                                      const char* path);
/** SaveBmpMono with a stride in bytes. @copydetails SaveBmpARGB_S */
VEXACAMUTL_API UtlStatus SaveBmpMono_S(const void* picture, uint32_t width, uint32_t height, uint32_t stride,
                                       const char* path);

/** @} */

/**
 * @defgroup rwh Raw frames in files (RWH)
 *
 *     0    pixel format   (4)
 *     4    width          (4)
 *     8    height         (4)
 *     12   row size       (4)   BitPerPixel(format) * width / 8, rounded down
 *     16   row size * height bytes of frame
 *
 * All fields are little-endian, all products modulo 2^32. There is no
 * signature; nothing follows.
 * @{
 */

/**
 * Saves a raw frame with its header.
 *
 * @param frame  row size * height bytes: rows without padding, top row first
 * @param format any code; only its bits 16 to 23 matter here
 * @param width  in pixels, 0 included
 * @param height in rows, 0 included
 * @param path   handed to the file system as it is; an existing file is
 *               replaced
 * @return UTL_STS_SUCCESS, mind: also when a write or the close fails without
 *         an exception (disk full); UTL_STS_INVALID_PARAMETER for a null frame,
 *         no file touched; UTL_STS_FILE_OPEN_ERROR when the file cannot be
 *         opened, a null path included; UTL_STS_FILE_IO_ERROR for an exception
 *         while opening, writing or closing. Only an exception thrown before
 *         that, while the stream is constructed, passes to the caller.
 */
VEXACAMUTL_API UtlStatus SaveRWH(const void* frame, PixelFormat format, uint32_t width, uint32_t height,
                                 const char* path);

/**
 * Loads a raw frame, or only its header. The header is not validated: a file
 * that is no RWH file gives senseless numbers, so look at them before use.
 *
 * @param path     handed to the file system as it is
 * @param frame    null: read only the header. Else *frame is where the data go:
 *                 a block of the caller's that holds row size * height bytes;
 *                 or, when *frame is null, a block of exactly that size that
 *                 this function gets from malloc and stores in *frame. The
 *                 caller releases it with free, whatever the status.
 * @param format   receives the pixel format, unless null
 * @param width    receives the width in pixels, unless null
 * @param height   receives the height in rows, unless null
 * @param row_size receives the bytes per row, unless null
 * @return UTL_STS_SUCCESS, mind: also for a file that ends early. Header words
 *         of a file shorter than the header are 0 where they are missing; frame
 *         bytes that are not in the file stay as they were.
 *         UTL_STS_FILE_OPEN_ERROR when the file cannot be opened, a null path
 *         included; everything stays untouched. UTL_STS_FILE_READ_ERROR for an
 *         exception while reading the data, or when malloc fails (*frame stays
 *         null); the numbers of the header are stored all the same. An
 *         exception thrown before that, while the file is opened or the header
 *         read, passes to the caller.
 */
VEXACAMUTL_API UtlStatus LoadRWH(const char* path, uint8_t** frame, PixelFormat* format, uint32_t* width,
                                 uint32_t* height, uint32_t* row_size);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
