#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

/// The binary interface of the NDI runtime, as far as a sender of video needs it.
namespace NDI {

using SendInstance = struct OpaqueSendInstance*;

struct SendSettings {
    const char* name = nullptr;
    const char* groups = nullptr;
    /// The runtime holds a caller back who sends frames faster than their frame rate.
    bool clockVideo = true;
    bool clockAudio = false;
};
static_assert(offsetof(SendSettings, groups) == sizeof(void*));
static_assert(offsetof(SendSettings, clockVideo) == 2 * sizeof(void*));
static_assert(offsetof(SendSettings, clockAudio) == 2 * sizeof(void*) + 1);

/// The four characters in memory order: pixels of 8-bit blue, green, red and alpha.
constexpr int fourCCBGRA = 0x41524742;
constexpr int progressive = 1;
/// The runtime stamps the frame itself.
constexpr int64_t synthesizeTimecode = std::numeric_limits<int64_t>::max();

struct VideoFrame {
    int width = 0;
    int height = 0;
    int fourCC = fourCCBGRA;
    /// Frames a second, as a fraction.
    int frameRateNumerator = 0;
    int frameRateDenominator = 1000;
    /// Width by height.
    float pictureAspectRatio = 0;
    int frameFormat = progressive;
    int64_t timecode = synthesizeTimecode;
    const uint8_t* data = nullptr;
    int lineStrideInBytes = 0;
    const char* metadata = nullptr;
    int64_t timestamp = 0;
};
static_assert(offsetof(VideoFrame, height) == 4);
static_assert(offsetof(VideoFrame, fourCC) == 8);
static_assert(offsetof(VideoFrame, frameRateNumerator) == 12);
static_assert(offsetof(VideoFrame, frameRateDenominator) == 16);
static_assert(offsetof(VideoFrame, pictureAspectRatio) == 20);
static_assert(offsetof(VideoFrame, frameFormat) == 24);
static_assert(offsetof(VideoFrame, timecode) == 32);
static_assert(offsetof(VideoFrame, data) == 40);
static_assert(offsetof(VideoFrame, lineStrideInBytes) == 48);
static_assert(offsetof(VideoFrame, metadata) == 56);
static_assert(offsetof(VideoFrame, timestamp) == 64);
static_assert(sizeof(VideoFrame) == 72);

/// What the runtime's entry returns. The table only ever grows at its end; every member is one
/// pointer, those not named are skipped.
struct FunctionTable {
    bool (*initialize)();
    void (*destroy)();
    void* skipped2To7[6];
    SendInstance (*sendCreate)(const SendSettings* settings);
    void (*sendDestroy)(SendInstance sender);
    void* skipped10To49[40];
    /// Returns when the frame's data is no longer needed.
    void (*sendVideo)(SendInstance sender, const VideoFrame* frame);
};
static_assert(offsetof(FunctionTable, sendCreate) == 8 * sizeof(void*));
static_assert(offsetof(FunctionTable, sendDestroy) == 9 * sizeof(void*));
static_assert(offsetof(FunctionTable, sendVideo) == 50 * sizeof(void*));

constexpr auto entryName = "NDIlib_v5_load";
using Entry = const FunctionTable*();

} // namespace NDI
