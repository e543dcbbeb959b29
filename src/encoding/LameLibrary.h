#pragma once

#include <juce_core/juce_core.h>

/*
    The MP3 encoder library as the program sees it: a record of settings, a stream handle and
    five operations (start a stream, encode a chunk, flush, close, write the VBR header), bound
    at run time from a library the user may choose.

    The library is LAME. The operations are served by LAME's own `lame_*` interface, looked up
    by name in the chosen file; the record keeps the layout and the meaning of the encoder's
    classic settings record, so that a setting means the same whichever library serves it.
*/

using BE_ERR = juce::uint32;
using HBE_STREAM = juce::pointer_sized_uint;

constexpr juce::uint32 BE_CONFIG_LAME = 256;

constexpr juce::int32 BE_MP3_MODE_STEREO = 0;
constexpr juce::int32 BE_MP3_MODE_JSTEREO = 1;
constexpr juce::int32 BE_MP3_MODE_DUALCHANNEL = 2;
constexpr juce::int32 BE_MP3_MODE_MONO = 3;

constexpr juce::int32 LQP_R3MIX = 4;

constexpr BE_ERR BE_ERR_SUCCESSFUL = 0;
constexpr BE_ERR BE_ERR_INVALID_FORMAT = 1;
constexpr BE_ERR BE_ERR_INVALID_FORMAT_PARAMETERS = 2;
constexpr BE_ERR BE_ERR_NO_MORE_HANDLES = 3;
constexpr BE_ERR BE_ERR_INVALID_HANDLE = 4;
constexpr BE_ERR BE_ERR_BUFFER_TOO_SMALL = 5;

/** The encoder's settings record, 331 bytes, packed, field for field as the encoder reads it. */
#pragma pack(push, 1)
struct BE_CONFIG
{
    juce::uint32 dwConfig;

    union
    {
        struct
        {
            juce::uint32 dwStructVersion;
            juce::uint32 dwStructSize;

            juce::uint32 dwSampleRate;   // the rate of the samples handed over
            juce::uint32 dwReSampleRate; // the rate of the MP3 stream
            juce::int32 nMode;           // BE_MP3_MODE_...
            juce::uint32 dwBitrate;      // the constant bit rate, in kbit/s
            juce::uint32 dwMaxBitrate;   // the highest variable bit rate, 0 for the encoder's own
            juce::int32 nPreset;
            juce::uint32 dwMpegVersion;
            juce::uint32 dwPsyModel;
            juce::uint32 dwEmphasis;

            juce::int32 bPrivate;
            juce::int32 bCRC;
            juce::int32 bCopyright;
            juce::int32 bOriginal;

            juce::int32 bWriteVBRHeader; // reserve the first frame for the VBR header
            juce::int32 bEnableVBR;
            juce::int32 nVBRQuality; // 0 best .. 9 smallest
            juce::uint32 dwVbrAbr_bps;
            juce::int32 nVbrMethod;
            juce::int32 bNoRes; // no bit reservoir: every frame stands alone

            juce::int32 bStrictIso;
            juce::uint16 nQuality;

            juce::uint8 btReserved[255 - 4 * sizeof (juce::uint32) - sizeof (juce::uint16)];
        } LHV1;

        juce::uint8 bytes[327];
    } format;
};
#pragma pack(pop)

static_assert (sizeof (BE_CONFIG) == 331, "the encoder reads a record of exactly 331 bytes");

//==============================================================================
/**
    The one binding of the encoder library for the whole process. The program binds it for each
    track and releases it at the end of the track; while it is unbound the five operations are
    null.
*/
class LameLibrary
{
public:
    using InitStream = BE_ERR (*) (BE_CONFIG* config, juce::uint32* samples, juce::uint32* bufferSize,
                                   HBE_STREAM* stream);
    /** `count` is the number of 16-bit values, left and right interleaved. */
    using EncodeChunk = BE_ERR (*) (HBE_STREAM stream, juce::uint32 count, juce::int16* samples, juce::uint8* output,
                                    juce::uint32* written);
    using DeinitStream = BE_ERR (*) (HBE_STREAM stream, juce::uint8* output, juce::uint32* written);
    using CloseStream = BE_ERR (*) (HBE_STREAM stream);
    /** Fills the frame reserved at the start of a finished, closed file with the VBR header. */
    using WriteInfoTag = BE_ERR (*) (HBE_STREAM stream, const char* fileName);

    /** Binds the library at `file` unless one is bound already. A file that cannot be loaded, or
        that lacks any one of the entry points, counts as no library: nothing stays bound. */
    static bool bindLame (const juce::File& file);

    /** Closes the streams still open and releases the library. */
    static void unbind();

    static bool isBound();

    /** The names that a library must export to be taken, in the order they are looked up. */
    static juce::StringArray entryPointNames();

    // The five operations; null while unbound.
    static InitStream beInitStream;
    static EncodeChunk beEncodeChunk;
    static DeinitStream beDeinitStream;
    static CloseStream beCloseStream;
    static WriteInfoTag beWriteInfoTag;
};
