/* SPDX-License-Identifier: MIT
 * Copyright (c) the Vexa camera utility library authors
 */
/**
 * @file
 * The whole public interface of libVexaCamUtl_64.so.1.
 *
 * The library converts raw frames of industrial cameras (grey, Bayer mosaic,
 * packed RGB/BGR, YUV) into BGRA or BGR pictures. It also saves pictures and
 * raw frames, mirrors raw frames and answers queries about pixel formats. All
 * functions have C linkage; the header is valid C99 and C++.
 *
 *
 * ## A first program
 *
 *     #include <VexaCamUtl.h>
 *     #include <stdio.h>
 *     #include <stdlib.h>
 *
 *     // A BayerRG8 frame: red grows to the right, blue grows downwards, green is constant.
 *     static void draw_frame(uint8_t* frame, uint32_t width, uint32_t height) {
 *         for (uint32_t y = 0; y < height; ++y) {
 *             for (uint32_t x = 0; x < width; ++x) {
 *                 const uint32_t red = 255 * x / width, green = 96, blue = 255 * y / height;
 *                 // even rows R G R G ..., odd rows G B G B ...
 *                 frame[y * width + x] = (uint8_t)(x % 2 != y % 2 ? green : y % 2 == 0 ? red : blue);
 *             }
 *         }
 *     }
 *
 *     static int save_ppm(const char* path, const uint8_t* bgr, uint32_t width, uint32_t height) {
 *         FILE* file = fopen(path, "wb");
 *         int failed = file == NULL || fprintf(file, "P6\n%u %u\n255\n", width, height) < 0;
 *         for (uint32_t i = 0; i < width * height && !failed; ++i) {
 *             const uint8_t rgb[3] = {bgr[3 * i + 2], bgr[3 * i + 1], bgr[3 * i]};  // PPM stores red first
 *             failed = fwrite(rgb, 3, 1, file) != 1;
 *         }
 *         return file == NULL || fclose(file) != 0 || failed;
 *     }
 *
 *     int main(void) {
 *         const uint32_t width = 640, height = 480;
 *         uint8_t* frame = malloc(width * height);    // BayerRG8: 1 byte per pixel
 *         uint8_t* bgr = malloc(width * height * 3);  // BGR: 3 bytes per pixel
 *         int failed = 1;
 *         PrepareLUT();  // once per process: grey and YUV frames need it
 *         if (frame != NULL && bgr != NULL) {
 *             draw_frame(frame, width, height);
 *             if (ConvImage(CONV_DST_BGR, PIXEL_FORMAT_BAYER_RG8, 1, bgr, frame, width, height) == UTL_STS_SUCCESS) {
 *                 failed = save_ppm("picture.ppm", bgr, width, height);
 *             }
 *         }
 *         free(bgr);
 *         free(frame);
 *         return failed;
 *     }
 *
 * The program writes picture.ppm, which image viewers open. Link it with
 * -lVexaCamUtl_64, with the output of pkg-config --libs vexacamutl, or with the
 * CMake target VexaCamUtl::VexaCamUtl.
 *
 *
 * ## Pictures
 *
 * Rows follow each other without padding, top row first.
 *
 *     BGRA, 4 bytes per pixel   | B0 G0 R0 FF | B1 G1 R1 FF | ...   alpha is 255
 *     BGR,  3 bytes per pixel   | B0 G0 R0 | B1 G1 R1 | ...
 *
 * A destination holds width * height * 4 bytes (BGRA) or * 3 bytes (BGR).
 *
 *
 * ## Frames
 *
 * Rows follow each other without padding, top row first. Formats of 10, 12 and
 * 16 bits hold one little-endian 16-bit word per sample with the value in its
 * low bits. Unpack the packed transport formats (10p, 12p, 10Packed, 12Packed)
 * to such words first.
 *
 *     Mono8                | Y0 | Y1 | Y2 | ...
 *     Mono10/12/16         | Y0 lo, Y0 hi | Y1 lo, Y1 hi | ...
 *     RGB8                 | R0 G0 B0 | R1 G1 B1 | ...
 *     BGR8                 | B0 G0 R0 | B1 G1 R1 | ...
 *     BGR10/12, RGB10/12   as BGR8 and RGB8, each sample a 16-bit word
 *     Bayer8, Bayer10/12   one sample per pixel; the first two rows are
 *
 *         BayerGR  G R G R ..   BayerRG  R G R G ..
 *                  B G B G ..            G B G B ..
 *
 *         BayerGB  G B G B ..   BayerBG  B G B G ..
 *                  R G R G ..            G R G R ..
 *
 *     YUV411_8_UYYVYY      | U Y0 Y1 V Y2 Y3 | ...   6 bytes for 4 pixels
 *     YUV422_8_UYVY        | U Y0 V Y1 | ...         4 bytes for 2 pixels
 *     YUV8_UYV             | U Y V | ...             3 bytes per pixel
 *
 * A source holds width * height * BitPerPixel(format) / 8 bytes. Three
 * converters read wider groups than their format has; -- marks a byte that they
 * skip:
 *
 *     ConvYUV422PToBGR     | U Y0 V Y1 -- | ...      5 bytes for 2 pixels
 *     ConvYUV444PToBGRA,
 *     ConvYUV444PToBGR     | U Y V -- | ...          4 bytes per pixel
 *
 * To convert a UYVY frame to BGR, convert it to BGRA and drop every fourth byte.
 * Spread a 3-byte UYV frame to 4 bytes per pixel before the call.
 *
 *
 * ## From a format to its functions
 *
 * GetBGRAConverter, GetBGRConverter and ConvImage choose from this table. Rows
 * in parentheses are never chosen: call those functions by name. ACPI rows are
 * chosen in BAYER_CONV_MODE_ACPI. An asterisk marks functions that need
 * PrepareLUT.
 *
 *     Format            to BGRA                to BGR
 *     Mono8             ConvMono8ToBGRA *      ConvMono8ToBGR
 *     Mono10            ConvMono10ToBGRA *     ConvMono10ToBGR
 *     Mono12            ConvMono12ToBGRA *     ConvMono12ToBGR
 *     Mono16            ConvMono16ToBGRA *     ConvMono16ToBGR
 *     BayerGR8          ConvByrGR8ToBGRA       ConvByrGR8ToBGR
 *     BayerRG8          ConvByrRG8ToBGRA       ConvByrRG8ToBGR
 *     BayerGB8          ConvByrGB8ToBGRA       ConvByrGB8ToBGR
 *     BayerBG8          ConvByrBG8ToBGRA       ConvByrBG8ToBGR
 *     BayerGR8, ACPI    ConvByrGR8ToBGRAACPI   ConvByrGR8ToBGRACPI
 *     BayerRG8, ACPI    ConvByrRG8ToBGRAACPI   ConvByrRG8ToBGRACPI
 *     BayerGB8, ACPI    ConvByrGB8ToBGRAACPI   ConvByrGB8ToBGRACPI
 *     BayerBG8, ACPI    ConvByrBG8ToBGRAACPI   ConvByrBG8ToBGRACPI
 *     BayerGR10         ConvByrGR10ToBGRA      ConvByrGR10ToBGR
 *     BayerRG10         ConvByrRG10ToBGRA      ConvByrRG10ToBGR
 *     BayerGB10         ConvByrGB10ToBGRA      ConvByrGB10ToBGR
 *     BayerBG10         ConvByrBG10ToBGRA      ConvByrBG10ToBGR
 *     BayerGR12         ConvByrGR12ToBGRA      ConvByrGR12ToBGR
 *     BayerRG12         ConvByrRG12ToBGRA      ConvByrRG12ToBGR
 *     BayerGB12         ConvByrGB12ToBGRA      ConvByrGB12ToBGR
 *     BayerBG12         ConvByrBG12ToBGRA      ConvByrBG12ToBGR
 *     RGB8              ConvRGB8PToBGRA        ConvRGB8PToBGR
 *     BGR8              ConvBGR8PToBGRA        ConvBGR8PToBGR
 *     (RGB10)           ConvRGB10PToBGRA       ConvRGB10PToBGR
 *     BGR10             ConvBGR10PToBGRA       ConvBGR10PToBGR
 *     (RGB12)           ConvRGB12PToBGRA       ConvRGB12PToBGR
 *     BGR12             ConvBGR12PToBGRA       ConvBGR12PToBGR
 *     YUV411_8_UYYVYY   ConvYUV411PToBGRA *    ConvYUV411PToBGR *
 *     YUV422_8_UYVY     ConvYUV422PToBGRA *    ConvYUV422PToBGR *
 *     YUV8_UYV          ConvYUV444PToBGRA *    ConvYUV444PToBGR *
 *
 * Workers for samples of any other depth take the right shift as an argument:
 *
 *     (Mono)            ConvMonoNToBGRA *      ConvMonoNToBGR
 *     (BayerGR)         ConvByrGRNToBGRA       ConvByrGRNToBGR
 *     (BayerRG)         ConvByrRGNToBGRA       ConvByrRGNToBGR
 *     (BayerGB)         ConvByrGBNToBGRA       ConvByrGBNToBGR
 *     (BayerBG)         ConvByrBGNToBGRA       ConvByrBGNToBGR
 *     (RGB)             ConvRGBNToBGRA         ConvRGBNToBGR
 *     (BGR)             ConvBGRNToBGRA         ConvBGRNToBGR
 *
 * With Bayer flag 0 a Bayer format uses the converters of the Mono format of its
 * depth, which show the mosaic in grey.
 *
 *
 * ## Rules that hold for every function
 *
 * Statuses. A function that can fail returns a UtlStatus; 0 is success. A null
 * destination or source is tested before everything else: the function returns
 * UTL_STS_INVALID_PARAMETER and writes nothing.
 *
 * Sizes. Buffer lengths are not passed, so the library cannot check them: the
 * caller must get sizes, strides and lengths right. Some products of sizes are
 * taken modulo 2^32; each group of functions states the largest size that it
 * serves.
 *
 * Arithmetic. Samples of more than 8 bits are shifted right, and the low 8 bits
 * of the result are kept: a sample above its depth wraps, it does not saturate.
 * Means are truncated.
 *
 * Flags are one byte each. The Bayer flag of ConvImage and of the getters is set
 * when its byte is not 0; the flags of ReverseImg are set when their byte is
 * exactly 1.
 *
 * Buffers belong to the caller. Only LoadRWH may allocate for its caller, with
 * malloc(); release that block with free(). Source and destination of one call
 * must not overlap. Neither bytes nor 16-bit samples require any alignment;
 * addresses that are multiples of 64 are fastest.
 *
 * Threads. The library has no threads and no locks. Every function may be called
 * from any thread at any time, on different destinations and different files.
 * The first call of PrepareLUT must return before other threads start the
 * conversions that need it. No call is needed at shutdown.
 *
 * Files. The file functions report a failed open. They do not report a write or
 * close that fails later (full disk), nor a file that ends early: they return
 * UTL_STS_SUCCESS. To detect these, compare the size of the file with its layout,
 * which is drawn below. A path is passed to the file system unchanged; a null path
 * gives UTL_STS_FILE_OPEN_ERROR. The writers replace an existing file.
 *
 * Memory. A call needs the same stack for every picture: about 50 KiB in the ACPI
 * converters, less than 8 KiB in every other function. A bitmap writer allocates
 * 64 KiB and frees them before it returns.
 *
 * Floating point. No result depends on the caller's rounding mode or exception
 * masks, and no call changes them.
 *
 * Exceptions. Converters, queries and ReverseImg never throw and never allocate.
 * The file functions return a status for an exception. One exception reaches the
 * caller: std::bad_alloc, thrown while the stream is constructed or, in LoadRWH,
 * while the file is opened or its header is read.
 */
#ifndef VEXACAMUTL_H
#define VEXACAMUTL_H

#include <stdint.h>

/** Version of this header. The shared object's SONAME carries the major number. */
#define VEXACAMUTL_VERSION_MAJOR 1
#define VEXACAMUTL_VERSION_MINOR 0 /**< grows with backward-compatible additions */
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
 * Codes and queries. Codes and names are those of the GenICam Pixel Format Naming
 * Convention (PFNC), as cameras report them.
 * @{
 */

/**
 * A PFNC pixel-format code. Bits 16 to 23 hold the number of bits that one pixel
 * takes in a frame.
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
 * @return bits 16 to 23 of the code, so 0 to 255: 16 for Mono10, whose samples
 *         lie in 16-bit words; 12 for YUV411_8_UYYVYY
 */
VEXACAMUTL_API uint32_t BitPerPixel(PixelFormat format);

/**
 * Significant bits per sample.
 *
 * @param format any code; all 32 bits are compared
 * @return 8, 10, 12 or 16 for the 22 catalogued formats, which are the formats
 *         above except RGB10, RGB12 and BGR12; 0 for every other code
 */
VEXACAMUTL_API uint8_t DataDepth(PixelFormat format);

/**
 * Whether a format is grey.
 *
 * @param format any code; all 32 bits are compared
 * @return 1 for the four Mono formats and for every code that DataDepth does not
 *         know; 0 for the catalogued Bayer, packed-colour and YUV formats
 */
VEXACAMUTL_API uint8_t IsMonochromic(PixelFormat format);

/**
 * Whether a format is a Bayer mosaic.
 *
 * @param format any code; all 32 bits are compared
 * @return 1 for the twelve Bayer formats, 0 for every other code
 */
VEXACAMUTL_API uint8_t IsPixelBayer(PixelFormat format);

/** @} */

/**
 * @defgroup statuses Statuses
 * @{
 */

/** The result of an operation; 0 is success. */
typedef uint32_t UtlStatus;

#define UTL_STS_SUCCESS 0u                     /**< done */
#define UTL_STS_INVALID_PARAMETER 13u          /**< null buffer, or no converter for the format */
#define UTL_STS_NOT_INITIALIZED 21u            /**< PrepareLUT must be called first */
#define UTL_STS_FILE_OPEN_ERROR 0x2001u        /**< the file could not be opened */
#define UTL_STS_FILE_IO_ERROR 0x2002u          /**< an exception while a file was written */
#define UTL_STS_FILE_READ_ERROR 0x2003u        /**< an exception, or no memory, while a file was read */
#define UTL_STS_UNSUPPORTED_FORMAT 0xFFFFFFFFu /**< ReverseImg does not handle this format */

/** @} */

/**
 * @defgroup conversion Choosing and running a converter
 * @{
 */

/** How 8-bit Bayer frames are demosaiced when the Bayer flag is set. */
typedef uint32_t BayerConvMode;

#define BAYER_CONV_MODE_DEFAULT 0u /**< bilinear; every value other than 1 means this */
#define BAYER_CONV_MODE_ACPI 1u    /**< adaptive colour-plane interpolation, 8-bit formats only */

/** The layout of the picture that ConvImage writes. */
typedef uint32_t ConvDstFormat;

#define CONV_DST_BGRA 0u /**< 4 bytes per pixel; every value other than 1 means this */
#define CONV_DST_BGR 1u  /**< 3 bytes per pixel */

/**
 * A converter: writes width * height pixels to dst from the frame at src.
 *
 * The converters of grey, packed colour and YUV treat the frame as one run of
 * width * height pixels, a product modulo 2^32; they serve up to 2^32 - 1 pixels.
 * A call with 0 pixels succeeds and writes nothing. Bayer converters serve any
 * size that fits into memory; their results are defined for even widths and
 * heights of at least 2 (ACPI: 4). With other sizes they stay inside both buffers
 * and take means of the neighbours that exist.
 *
 * @param dst    destination, width * height * 4 (BGRA) or * 3 (BGR) bytes
 * @param src    frame, rows without padding, in the layout of its format; it is
 *               only read
 * @param width  in pixels
 * @param height in rows
 * @return UTL_STS_SUCCESS; UTL_STS_INVALID_PARAMETER if dst or src is null;
 *         UTL_STS_NOT_INITIALIZED from the Mono-to-BGRA and the YUV converters
 *         before PrepareLUT. Both errors are returned for every size, 0 pixels
 *         included; nothing is written then.
 */
typedef UtlStatus (*ConverterFunc)(void* dst, const void* src, uint32_t width, uint32_t height);

/**
 * A worker: a converter with N in its name, which takes the right shift from a
 * 16-bit sample to 8 bits. The 10-, 12- and 16-bit converters pass 2, 4 and 8.
 *
 * @param dst    see ConverterFunc
 * @param src    see ConverterFunc
 * @param width  in pixels
 * @param height in rows
 * @param shift  only its low 8 bits count; Mono and packed colour take them
 *               modulo 32, Bayer takes 0 to 29
 * @return see ConverterFunc
 */
typedef UtlStatus (*ConverterNFunc)(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);

/**
 * Fills the tables that the Mono-to-BGRA and the YUV converters read. Call it
 * once, before these converters. A further call is harmless, even while other
 * threads convert.
 *
 * @return UTL_STS_SUCCESS, always
 */
VEXACAMUTL_API UtlStatus PrepareLUT(void);

/**
 * Sets the mode in which the getters and ConvImage demosaic the four 8-bit Bayer
 * formats from now on, in the whole process. A converter that a getter returned
 * earlier does not change.
 *
 * @param mode BAYER_CONV_MODE_ACPI; any other value means the default
 * @return UTL_STS_SUCCESS, always
 */
VEXACAMUTL_API UtlStatus SetBayerConvMode(BayerConvMode mode);

/**
 * The converter from a pixel format to BGRA.
 *
 * @param format all 32 bits are compared
 * @param bayer  not 0: demosaic Bayer frames; 0: show the mosaic in grey. Ignored
 *               for other formats.
 * @return the converter, which stays valid while the library is loaded; null if
 *         none is chosen for the format
 */
VEXACAMUTL_API ConverterFunc GetBGRAConverter(PixelFormat format, uint8_t bayer);

/**
 * The converter from a pixel format to BGR.
 *
 * @param format see GetBGRAConverter
 * @param bayer  see GetBGRAConverter
 * @return see GetBGRAConverter
 */
VEXACAMUTL_API ConverterFunc GetBGRConverter(PixelFormat format, uint8_t bayer);

/**
 * Chooses the converter and runs it.
 *
 * @param dst_format CONV_DST_BGR; any other value means CONV_DST_BGRA
 * @param format     see GetBGRAConverter
 * @param bayer      see GetBGRAConverter
 * @param dst        see ConverterFunc
 * @param src        see ConverterFunc
 * @param width      in pixels
 * @param height     in rows
 * @return the status of the converter (see ConverterFunc), or
 *         UTL_STS_INVALID_PARAMETER if none is chosen for the format
 */
VEXACAMUTL_API UtlStatus ConvImage(ConvDstFormat dst_format, PixelFormat format, uint8_t bayer, void* dst,
                                   const void* src, uint32_t width, uint32_t height);

/** @} */

/**
 * @defgroup grey Converters: grey
 * One sample g gives B = G = R = g. Arguments and statuses of every converter,
 * here and below, are those of ConverterFunc or ConverterNFunc.
 * @{
 */

/** Mono8 to BGRA: 1 byte in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvMono8ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** Mono10 to BGRA: one 16-bit word in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvMono10ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** Mono12 to BGRA: one 16-bit word in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvMono12ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** Mono16 to BGRA: one 16-bit word in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvMono16ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** Mono8 to BGR: 1 byte in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvMono8ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** Mono10 to BGR: one 16-bit word in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvMono10ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** Mono12 to BGR: one 16-bit word in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvMono12ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** Mono16 to BGR: one 16-bit word in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvMono16ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);

/** Grey, 16-bit samples, to BGRA: one 16-bit word in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvMonoNToBGRA(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);
/** Grey, 16-bit samples, to BGR: one 16-bit word in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvMonoNToBGR(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);

/** @} */

/**
 * @defgroup packed Converters: packed colour
 * P stands for packed; the order in the name is the order of the samples in
 * memory. ConvBGR8PToBGR copies width * (height * 3) bytes, a product modulo
 * 2^32, so it serves up to 2^32 - 1 bytes.
 * @{
 */

/** RGB8 to BGRA: 3 bytes in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvRGB8PToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** RGB10 to BGRA: three 16-bit words in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvRGB10PToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** RGB12 to BGRA: three 16-bit words in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvRGB12PToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** BGR8 to BGRA: 3 bytes in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvBGR8PToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** BGR10 to BGRA: three 16-bit words in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvBGR10PToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** BGR12 to BGRA: three 16-bit words in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvBGR12PToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** RGB8 to BGR: 3 bytes in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvRGB8PToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** RGB10 to BGR: three 16-bit words in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvRGB10PToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** RGB12 to BGR: three 16-bit words in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvRGB12PToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** BGR8 to BGR: 3 bytes in, 3 bytes out per pixel, copied as one block. */
VEXACAMUTL_API UtlStatus ConvBGR8PToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** BGR10 to BGR: three 16-bit words in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvBGR10PToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** BGR12 to BGR: three 16-bit words in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvBGR12PToBGR(void* dst, const void* src, uint32_t width, uint32_t height);

/** RGB, 16-bit samples, to BGRA: three 16-bit words in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvRGBNToBGRA(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);
/** BGR, 16-bit samples, to BGRA: three 16-bit words in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvBGRNToBGRA(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);
/** RGB, 16-bit samples, to BGR: three 16-bit words in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvRGBNToBGR(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);
/** BGR, 16-bit samples, to BGR: three 16-bit words in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvBGRNToBGR(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);

/** @} */

/**
 * @defgroup yuv Converters: YUV
 * Full range (Y is taken as it is), with the coefficients of ITU-R BT.601 as
 * JFIF uses them:
 *
 *     R = Y + 1.402 (V - 128)
 *     G = Y - 0.344 (U - 128) - 0.714 (V - 128)
 *     B = Y + 1.772 (U - 128)                      rounded, limited to 0..255
 *
 * In G the sum of the two chroma terms is computed in single precision and rounded
 * to a whole number before Y is added. All pixels of a group use its U and V
 * unchanged. If width * height is not a multiple of the group, the pixels left over
 * stay unchanged in the destination.
 * @{
 */

/** YUV411_8_UYYVYY to BGRA: 6 bytes in, 16 bytes out for 4 pixels. */
VEXACAMUTL_API UtlStatus ConvYUV411PToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** YUV422_8_UYVY to BGRA: 4 bytes in, 8 bytes out for 2 pixels. */
VEXACAMUTL_API UtlStatus ConvYUV422PToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** YUV8_UYV to BGRA: 4 bytes in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvYUV444PToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** YUV411_8_UYYVYY to BGR: 6 bytes in, 12 bytes out for 4 pixels. */
VEXACAMUTL_API UtlStatus ConvYUV411PToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** YUV422_8_UYVY to BGR: 5 bytes in, 6 bytes out for 2 pixels. */
VEXACAMUTL_API UtlStatus ConvYUV422PToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** YUV8_UYV to BGR: 4 bytes in, 3 bytes out per pixel. */
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
 * At a red or blue site X, green is the mean of the four g and the opposite colour
 * that of the four d. At a green site G, one colour is the mean of the two h and
 * the other that of the two v. Neighbours outside the picture are left out of the
 * mean. If all are outside (only in a picture of one row or column), the pixel's
 * own sample is used.
 *
 * With 10 and 12 bits the mean is taken at full depth and shifted afterwards.
 *
 * White balance, black level, colour correction and gamma are the caller's task;
 * VexaCamFrames.h has them.
 * @{
 */

/** BayerGR8 to BGRA, bilinear: 1 byte in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrGR8ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerRG8 to BGRA, bilinear: 1 byte in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrRG8ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerGB8 to BGRA, bilinear: 1 byte in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrGB8ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerBG8 to BGRA, bilinear: 1 byte in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrBG8ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerGR8 to BGR, bilinear: 1 byte in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrGR8ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerRG8 to BGR, bilinear: 1 byte in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrRG8ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerGB8 to BGR, bilinear: 1 byte in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrGB8ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerBG8 to BGR, bilinear: 1 byte in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrBG8ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);

/** BayerGR10 to BGRA, bilinear: one 16-bit word in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrGR10ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerRG10 to BGRA, bilinear: one 16-bit word in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrRG10ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerGB10 to BGRA, bilinear: one 16-bit word in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrGB10ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerBG10 to BGRA, bilinear: one 16-bit word in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrBG10ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerGR10 to BGR, bilinear: one 16-bit word in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrGR10ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerRG10 to BGR, bilinear: one 16-bit word in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrRG10ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerGB10 to BGR, bilinear: one 16-bit word in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrGB10ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerBG10 to BGR, bilinear: one 16-bit word in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrBG10ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);

/** BayerGR12 to BGRA, bilinear: one 16-bit word in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrGR12ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerRG12 to BGRA, bilinear: one 16-bit word in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrRG12ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerGB12 to BGRA, bilinear: one 16-bit word in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrGB12ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerBG12 to BGRA, bilinear: one 16-bit word in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrBG12ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerGR12 to BGR, bilinear: one 16-bit word in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrGR12ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerRG12 to BGR, bilinear: one 16-bit word in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrRG12ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerGB12 to BGR, bilinear: one 16-bit word in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrGB12ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerBG12 to BGR, bilinear: one 16-bit word in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrBG12ToBGR(void* dst, const void* src, uint32_t width, uint32_t height);

/** BayerGR, 16-bit samples, to BGRA, bilinear: one 16-bit word in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrGRNToBGRA(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);
/** BayerRG, 16-bit samples, to BGRA, bilinear: one 16-bit word in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrRGNToBGRA(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);
/** BayerGB, 16-bit samples, to BGRA, bilinear: one 16-bit word in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrGBNToBGRA(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);
/** BayerBG, 16-bit samples, to BGRA, bilinear: one 16-bit word in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrBGNToBGRA(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);
/** BayerGR, 16-bit samples, to BGR, bilinear: one 16-bit word in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrGRNToBGR(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);
/** BayerRG, 16-bit samples, to BGR, bilinear: one 16-bit word in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrRGNToBGR(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);
/** BayerGB, 16-bit samples, to BGR, bilinear: one 16-bit word in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrGBNToBGR(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);
/** BayerBG, 16-bit samples, to BGR, bilinear: one 16-bit word in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrBGNToBGR(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);

/** @} */

/**
 * @defgroup acpi Converters: Bayer, ACPI mode
 * Adaptive colour-plane interpolation, 8 bits: sharper edges and far less colour
 * fringing than the default mode, at a higher cost.
 *
 * Green is interpolated along the direction of the smaller gradient and
 * corrected by the second difference of the site's own colour. Red and blue
 * follow from colour differences against that green. The two outer rings of
 * pixels are means; on the outermost ring green comes only from the neighbours
 * along the border.
 *
 * For odd heights the last row stays unchanged in the destination.
 *
 * Some values deviate, for compatibility with existing pictures:
 *
 * - RG frames, first column, even rows from 2 to height - 4: blue is the mean of
 *   the samples above and below;
 * - GR frames, last column, even rows from 2 to height - 4: likewise;
 * - BG frames, last column, odd rows from 3 to height - 3: green is the mean of
 *   the three neighbours above, below and to the left;
 * - ConvByrBG8ToBGRAACPI leaves the red byte of the last pixel of row 1
 *   unchanged;
 * - RG frames, blue at interior red sites whose two diagonals have equal
 *   gradients: rounded and wrapped to 8 bits instead of limited to 0..255.
 * @{
 */

/** BayerGR8 to BGRA, ACPI: 1 byte in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrGR8ToBGRAACPI(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerRG8 to BGRA, ACPI: 1 byte in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrRG8ToBGRAACPI(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerGB8 to BGRA, ACPI: 1 byte in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrGB8ToBGRAACPI(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerBG8 to BGRA, ACPI: 1 byte in, 4 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrBG8ToBGRAACPI(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerGR8 to BGR, ACPI: 1 byte in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrGR8ToBGRACPI(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerRG8 to BGR, ACPI: 1 byte in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrRG8ToBGRACPI(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerGB8 to BGR, ACPI: 1 byte in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrGB8ToBGRACPI(void* dst, const void* src, uint32_t width, uint32_t height);
/** BayerBG8 to BGR, ACPI: 1 byte in, 3 bytes out per pixel. */
VEXACAMUTL_API UtlStatus ConvByrBG8ToBGRACPI(void* dst, const void* src, uint32_t width, uint32_t height);

/** @} */

/**
 * @defgroup reversal Mirroring raw frames
 * @{
 */

/**
 * Copies a raw frame, mirrored left to right, upside down, or both (a half turn).
 *
 * It serves Mono8/10/12/16, all Bayer formats, RGB8, BGR8, RGB10, BGR10, BGR12,
 * YUV411_8_UYYVYY and YUV422_8_UYVY. A row takes width * BitPerPixel(format) / 8
 * bytes, rounded down. The YUV formats move whole groups (4 and 2 pixels) and
 * reverse the luma order inside; for a mirror or a half turn their width must be
 * a multiple of the group.
 *
 * The phase of a Bayer frame changes with its first pixel: a mirror of an even
 * width exchanges GR with RG and GB with BG, an even height upside down exchanges
 * GR with BG and RG with GB. The caller must keep track of the phase.
 *
 * Largest frames:
 *
 * - copy: 2^32 - 1 pixels;
 * - mirror: any size;
 * - upside down: (height - 1) * row bytes below 2^32, and a row below 2^32 bytes.
 *   The offset of the last row is a product modulo 2^32, so larger frames are read
 *   from wrong addresses;
 * - half turn: 2^31 pixels, YUV 2^32 - 1. For larger frames the function writes
 *   nothing and returns UTL_STS_SUCCESS.
 *
 * @param dst         destination, as large as the frame
 * @param src         frame
 * @param format      of the frame
 * @param width       in pixels
 * @param height      in rows
 * @param mirror      1: mirror left to right; any other value: do not
 * @param upside_down 1: turn upside down; any other value: do not
 * @return UTL_STS_SUCCESS; UTL_STS_INVALID_PARAMETER for a null dst or src;
 *         UTL_STS_UNSUPPORTED_FORMAT for a format that is not listed above, such
 *         as RGB12 and YUV8_UYV. Nothing is written unless the status is
 *         UTL_STS_SUCCESS.
 */
VEXACAMUTL_API UtlStatus ReverseImg(void* dst, const void* src, PixelFormat format, uint32_t width, uint32_t height,
                                    uint8_t mirror, uint8_t upside_down);

/** @} */

/**
 * @defgroup bitmap Bitmap files
 * The library's own bitmaps: BMP files ("BM", bottom-up rows padded to 4 bytes)
 * in which every 32-bit field of the common BMP headers is 64 bits wide. Common
 * viewers do not open them. All fields are little-endian.
 *
 *     0    22-byte file header    "BM", file size (8), 0 (4), pixel offset (8)
 *     22   80-byte info header
 *     102  grey palette, 256 * (B, G, R, 0), in 8-bit files only
 *     102 or 1126                 rows, bottom row first
 *
 *     offset  22: 80 (8)      30: width (8)           38: height (8)
 *             46: 1 (2)       48: bits per pixel (2)  50: 0 (4)      54: 0 (8)
 *             62: bytes of all rows, modulo 2^32 (8)
 *             70, 78: pixels per metre, 16000 or, in 8-bit files, 160000 (8, 8)
 *             86, 94: palette entries, 0 or 256 (8, 8)
 *
 * ARGB in a name means a pixel as a little-endian word, 0xAARRGGBB. Its bytes in
 * memory are B, G, R, A: SaveBmpARGB takes what the BGRA converters write, and
 * SaveBmpRGB takes what the BGR converters write. Bytes are saved unchanged.
 *
 * Any size is accepted, 0 included. SaveBmpMono needs (height - 1) * width below
 * 2^32 and SaveBmpMono_S (height - 1) * stride, since the offset of the bottom
 * row is a product modulo 2^32. In files of more than 4 GiB the header's sizes
 * wrap.
 * @{
 */

/**
 * Saves a picture of 4 bytes per pixel.
 *
 * @param picture first byte of the top row; rows without padding
 * @param width   in pixels
 * @param height  in rows
 * @param path    of the file
 * @return UTL_STS_SUCCESS; UTL_STS_INVALID_PARAMETER for a null picture, and then
 *         no file is touched; UTL_STS_FILE_OPEN_ERROR if the file cannot be
 *         opened; UTL_STS_FILE_IO_ERROR for an exception during open, write or
 *         close, or if memory runs out
 */
VEXACAMUTL_API UtlStatus SaveBmpARGB(const void* picture, uint32_t width, uint32_t height, const char* path);
/** Saves a picture of 3 bytes per pixel. @copydetails SaveBmpARGB */
VEXACAMUTL_API UtlStatus SaveBmpRGB(const void* picture, uint32_t width, uint32_t height, const char* path);
/** Saves a grey picture of 1 byte per pixel. @copydetails SaveBmpARGB */
VEXACAMUTL_API UtlStatus SaveBmpMono(const void* picture, uint32_t width, uint32_t height, const char* path);
/**
 * SaveBmpARGB for rows with padding between them.
 *
 * @param picture first byte of the top row
 * @param width   in pixels
 * @param height  in rows
 * @param stride  bytes from the start of one row to the start of the next one
 *                below it; not compared with the width, 0 repeats the top row
 * @param path    of the file
 * @return see SaveBmpARGB
 */
VEXACAMUTL_API UtlStatus SaveBmpARGB_S(const void* picture, uint32_t width, uint32_t height, uint32_t stride,
                                       const char* path);
/** SaveBmpRGB for rows with padding between them. @copydetails SaveBmpARGB_S */
VEXACAMUTL_API UtlStatus SaveBmpRGB_S(const void* picture, uint32_t width, uint32_t height, uint32_t stride,
                                      const char* path);
/** SaveBmpMono for rows with padding between them. @copydetails SaveBmpARGB_S */
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
 * All fields are little-endian. There is no signature, and nothing follows the
 * frame. Products are taken modulo 2^32, so both functions serve frames of up to
 * 2^32 - 1 bytes.
 * @{
 */

/**
 * Saves a raw frame with its header.
 *
 * @param frame  row size * height bytes: rows without padding, top row first
 * @param format any code; its bits 16 to 23 give the row size
 * @param width  in pixels, 0 included
 * @param height in rows, 0 included
 * @param path   of the file
 * @return UTL_STS_SUCCESS; UTL_STS_INVALID_PARAMETER for a null frame, and then no
 *         file is touched; UTL_STS_FILE_OPEN_ERROR if the file cannot be opened;
 *         UTL_STS_FILE_IO_ERROR for an exception during open, write or close
 */
VEXACAMUTL_API UtlStatus SaveRWH(const void* frame, PixelFormat format, uint32_t width, uint32_t height,
                                 const char* path);

/**
 * Loads a raw frame, or only its header. The header is not validated: a file
 * that is not an RWH file yields arbitrary numbers, so check them before use.
 *
 * @param path     of the file
 * @param frame    null: read only the header. Otherwise *frame is the caller's
 *                 block, which receives row size * height bytes. If *frame is
 *                 null, the function allocates a block of that size with malloc
 *                 and stores it in *frame; the caller frees it, also after an
 *                 error.
 * @param format   receives the pixel format, unless null
 * @param width    receives the width in pixels, unless null
 * @param height   receives the height in rows, unless null
 * @param row_size receives the bytes per row, unless null
 * @return UTL_STS_SUCCESS. If the file ends early, missing header words are 0 and
 *         missing frame bytes stay unchanged in the block.
 *         UTL_STS_FILE_OPEN_ERROR if the file cannot be opened; then all outputs
 *         stay unchanged. UTL_STS_FILE_READ_ERROR for an exception while the frame
 *         is read, or if malloc fails (*frame stays null); the numbers of the
 *         header are stored even then.
 */
VEXACAMUTL_API UtlStatus LoadRWH(const char* path, uint8_t** frame, PixelFormat* format, uint32_t* width,
                                 uint32_t* height, uint32_t* row_size);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
