// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The storage of all process-wide data, and the one step at load: the choice of kernels for this processor. Until
// that step has run (another library's constructor may come first) the scalar kernels serve.
#include "catalogue/VexaCamUtl.h"

#include "kernels/CpuFeatures.h"
#include "kernels/KernelTable.h"

namespace Vexa {

constinit const PixelFormatDicEntry c_asPixelFormatDic[kPixelFormatCount] = {
    {PIXEL_FORMAT_MONO8, 0, 8, PIXEL_KIND_MONO, "Mono8"},
    {PIXEL_FORMAT_MONO10, 0, 10, PIXEL_KIND_MONO, "Mono10"},
    {PIXEL_FORMAT_MONO12, 0, 12, PIXEL_KIND_MONO, "Mono12"},
    {PIXEL_FORMAT_MONO16, 0, 16, PIXEL_KIND_MONO, "Mono16"},
    {PIXEL_FORMAT_BAYER_GR8, 96, 8, PIXEL_KIND_BAYER, "BayerGR8"},
    {PIXEL_FORMAT_BAYER_RG8, 99, 8, PIXEL_KIND_BAYER, "BayerRG8"},
    {PIXEL_FORMAT_BAYER_GB8, 102, 8, PIXEL_KIND_BAYER, "BayerGB8"},
    {PIXEL_FORMAT_BAYER_BG8, 105, 8, PIXEL_KIND_BAYER, "BayerBG8"},
    {PIXEL_FORMAT_BAYER_GR10, 96, 10, PIXEL_KIND_BAYER, "BayerGR10"},
    {PIXEL_FORMAT_BAYER_RG10, 99, 10, PIXEL_KIND_BAYER, "BayerRG10"},
    {PIXEL_FORMAT_BAYER_GB10, 102, 10, PIXEL_KIND_BAYER, "BayerGB10"},
    {PIXEL_FORMAT_BAYER_BG10, 105, 10, PIXEL_KIND_BAYER, "BayerBG10"},
    {PIXEL_FORMAT_BAYER_GR12, 96, 12, PIXEL_KIND_BAYER, "BayerGR12"},
    {PIXEL_FORMAT_BAYER_RG12, 99, 12, PIXEL_KIND_BAYER, "BayerRG12"},
    {PIXEL_FORMAT_BAYER_GB12, 102, 12, PIXEL_KIND_BAYER, "BayerGB12"},
    {PIXEL_FORMAT_BAYER_BG12, 105, 12, PIXEL_KIND_BAYER, "BayerBG12"},
    {PIXEL_FORMAT_RGB8, 32, 8, PIXEL_KIND_COLOR, "RGB8"},
    {PIXEL_FORMAT_BGR8, 4, 8, PIXEL_KIND_COLOR, "BGR8"},
    {PIXEL_FORMAT_BGR10, 4, 10, PIXEL_KIND_COLOR, "BGR10"},
    {PIXEL_FORMAT_YUV411_8_UYYVYY, 66, 8, PIXEL_KIND_YUV, "YUV411_8_UYYVYY"},
    {PIXEL_FORMAT_YUV422_8_UYVY, 74, 8, PIXEL_KIND_YUV, "YUV422_8_UYVY"},
    {PIXEL_FORMAT_YUV8_UYV, 82, 8, PIXEL_KIND_YUV, "YUV8_UYV"},
};

constinit uint32_t auiMono2BGRA[kSampleCount] = {};
constinit uint32_t auiYUVC_UV[kSampleCount * kSampleCount] = {};
constinit uint32_t auiYUV2G[kGreenRowCount * kSampleCount] = {};
constinit uint8_t aucYUV2G[kGreenRowCount * kSampleCount] = {};
constinit uint8_t aucYU2B[kSampleCount * kSampleCount] = {};
constinit uint32_t auiYV2R[kSampleCount * kSampleCount] = {};
constinit uint8_t aucYV2R[kSampleCount * kSampleCount] = {};
constinit bool s_bLUTReady = false;

constinit BayerConvMode s_eBayerConvMode = BAYER_CONV_MODE_DEFAULT;

constinit const Kernels::KernelTable* s_psKernels = &Kernels::kScalarTable;

namespace {

[[gnu::constructor]] void ChooseKernelsAtLoad() {
    s_psKernels = &Kernels::BestTableFor(Kernels::DetectProcessor());
}

}  // namespace
}  // namespace Vexa
