#include "encoding/LameLibrary.h"

// Only the declarations: the library itself is never linked, it is looked up at run time.
#include <lame/lame.h>

#include <cstdio>
#include <memory>
#include <vector>

// Every entry point of LAME's interface that the five operations call. A library must export
// them all to be taken.
#define GROOVESMITH_LAME_ENTRY_POINTS(X)                                                                               \
    X (lame_init)                                                                                                      \
    X (lame_set_in_samplerate)                                                                                         \
    X (lame_set_out_samplerate)                                                                                        \
    X (lame_set_num_channels)                                                                                          \
    X (lame_set_mode)                                                                                                  \
    X (lame_set_brate)                                                                                                 \
    X (lame_set_VBR)                                                                                                   \
    X (lame_set_VBR_q)                                                                                                 \
    X (lame_set_VBR_max_bitrate_kbps)                                                                                  \
    X (lame_set_copyright)                                                                                             \
    X (lame_set_original)                                                                                              \
    X (lame_set_error_protection)                                                                                      \
    X (lame_set_extension)                                                                                             \
    X (lame_set_strict_ISO)                                                                                            \
    X (lame_set_emphasis)                                                                                              \
    X (lame_set_disable_reservoir)                                                                                     \
    X (lame_set_bWriteVbrTag)                                                                                          \
    X (lame_init_params)                                                                                               \
    X (lame_get_framesize)                                                                                             \
    X (lame_encode_buffer_interleaved)                                                                                 \
    X (lame_encode_flush)                                                                                              \
    X (lame_mp3_tags_fid)                                                                                              \
    X (lame_close)

namespace
{
struct EntryPoints
{
#define GROOVESMITH_LAME_POINTER(name) decltype (&::name) name = nullptr;
    GROOVESMITH_LAME_ENTRY_POINTS (GROOVESMITH_LAME_POINTER)
#undef GROOVESMITH_LAME_POINTER
};

/** One encoder stream: LAME's state and the size of the caller's output buffer. */
struct Stream
{
    lame_global_flags* flags = nullptr;
    int channels = 2;
    int bufferSize = 0;
};

std::unique_ptr<juce::DynamicLibrary> library;
EntryPoints lame;
std::vector<std::unique_ptr<Stream>> openStreams;

Stream* streamFor (HBE_STREAM handle)
{
    for (auto& stream : openStreams)
        if ((HBE_STREAM) stream.get() == handle)
            return stream.get();
    return nullptr;
}

void closeStream (Stream& stream)
{
    lame.lame_close (stream.flags);
    openStreams.erase (std::remove_if (openStreams.begin(), openStreams.end(),
                                       [&stream] (const auto& open) { return open.get() == &stream; }),
                       openStreams.end());
}

//==============================================================================
// The five operations, over LAME's interface.

BE_ERR initStream (BE_CONFIG* config, juce::uint32* samples, juce::uint32* bufferSize, HBE_STREAM* handle)
{
    *samples = 0;
    *bufferSize = 0;
    *handle = 0;

    if (config->dwConfig != BE_CONFIG_LAME)
        return BE_ERR_INVALID_FORMAT;

    const auto& settings = config->format.LHV1;

    // LAME takes mono input through another call, which the program never needs.
    if (settings.nMode == BE_MP3_MODE_MONO || settings.nMode < 0 || settings.nMode > BE_MP3_MODE_MONO)
        return BE_ERR_INVALID_FORMAT_PARAMETERS;

    auto* flags = lame.lame_init();
    if (flags == nullptr)
        return BE_ERR_NO_MORE_HANDLES;

    lame.lame_set_in_samplerate (flags, (int) settings.dwSampleRate);
    lame.lame_set_out_samplerate (flags, (int) settings.dwReSampleRate);
    lame.lame_set_num_channels (flags, 2);
    lame.lame_set_mode (flags, (MPEG_mode) settings.nMode); // the same numbers as the record's modes

    if (settings.bEnableVBR != 0)
    {
        // The VBR level alone decides the size; the record's constant rate plays no part.
        lame.lame_set_VBR (flags, vbr_default);
        lame.lame_set_VBR_q (flags, settings.nVBRQuality);
        if (settings.dwMaxBitrate != 0)
            lame.lame_set_VBR_max_bitrate_kbps (flags, (int) settings.dwMaxBitrate);
    }
    else
    {
        lame.lame_set_VBR (flags, vbr_off);
        lame.lame_set_brate (flags, (int) settings.dwBitrate);
    }

    lame.lame_set_copyright (flags, settings.bCopyright != 0);
    lame.lame_set_original (flags, settings.bOriginal != 0);
    lame.lame_set_error_protection (flags, settings.bCRC != 0);
    lame.lame_set_extension (flags, settings.bPrivate != 0);
    lame.lame_set_strict_ISO (flags, settings.bStrictIso != 0);
    lame.lame_set_emphasis (flags, (int) settings.dwEmphasis);
    lame.lame_set_disable_reservoir (flags, settings.bNoRes != 0);
    lame.lame_set_bWriteVbrTag (flags, settings.bWriteVBRHeader != 0);

    if (lame.lame_init_params (flags) < 0)
    {
        lame.lame_close (flags);
        return BE_ERR_INVALID_FORMAT_PARAMETERS;
    }

    auto stream = std::make_unique<Stream>();
    stream->flags = flags;

    // A chunk is two frames' worth of values; the buffer holds what a chunk of them can give,
    // resampled up if need be, plus what LAME may still hold back (its own rule of thumb).
    const auto values = (juce::uint32) lame.lame_get_framesize (flags) * (juce::uint32) stream->channels;
    const auto upsampling = juce::jmax (1.0, settings.dwReSampleRate / (double) juce::jmax (1u, settings.dwSampleRate));
    stream->bufferSize = (int) std::ceil (1.25 * values * upsampling) + 7200;

    *samples = values;
    *bufferSize = (juce::uint32) stream->bufferSize;
    *handle = (HBE_STREAM) stream.get();
    openStreams.push_back (std::move (stream));
    return BE_ERR_SUCCESSFUL;
}

BE_ERR encodeChunk (HBE_STREAM handle, juce::uint32 count, juce::int16* samples, juce::uint8* output,
                    juce::uint32* written)
{
    *written = 0;
    auto* stream = streamFor (handle);
    if (stream == nullptr)
        return BE_ERR_INVALID_HANDLE;

    const auto bytes = lame.lame_encode_buffer_interleaved (stream->flags, samples, (int) count / stream->channels,
                                                            output, stream->bufferSize);
    if (bytes < 0)
        return bytes == -1 ? BE_ERR_BUFFER_TOO_SMALL : BE_ERR_INVALID_FORMAT_PARAMETERS;

    *written = (juce::uint32) bytes;
    return BE_ERR_SUCCESSFUL;
}

BE_ERR deinitStream (HBE_STREAM handle, juce::uint8* output, juce::uint32* written)
{
    *written = 0;
    auto* stream = streamFor (handle);
    if (stream == nullptr)
        return BE_ERR_INVALID_HANDLE;

    const auto bytes = lame.lame_encode_flush (stream->flags, output, stream->bufferSize);
    if (bytes < 0)
        return BE_ERR_BUFFER_TOO_SMALL;

    *written = (juce::uint32) bytes;
    return BE_ERR_SUCCESSFUL;
}

BE_ERR closeStreamByHandle (HBE_STREAM handle)
{
    auto* stream = streamFor (handle);
    if (stream == nullptr)
        return BE_ERR_INVALID_HANDLE;

    closeStream (*stream);
    return BE_ERR_SUCCESSFUL;
}

BE_ERR writeInfoTag (HBE_STREAM handle, const char* fileName)
{
    auto* stream = streamFor (handle);
    if (stream == nullptr)
        return BE_ERR_INVALID_HANDLE;

    // LAME reads past a leading ID3v2 tag and rewrites the reserved frame in place.
    auto* file = std::fopen (fileName, "rb+");
    if (file == nullptr)
        return BE_ERR_INVALID_FORMAT_PARAMETERS;

    lame.lame_mp3_tags_fid (stream->flags, file);
    std::fclose (file);
    return BE_ERR_SUCCESSFUL;
}
} // namespace

//==============================================================================
LameLibrary::InitStream LameLibrary::beInitStream = nullptr;
LameLibrary::EncodeChunk LameLibrary::beEncodeChunk = nullptr;
LameLibrary::DeinitStream LameLibrary::beDeinitStream = nullptr;
LameLibrary::CloseStream LameLibrary::beCloseStream = nullptr;
LameLibrary::WriteInfoTag LameLibrary::beWriteInfoTag = nullptr;

juce::StringArray LameLibrary::entryPointNames()
{
    return {
#define GROOVESMITH_LAME_NAME(name) #name,
        GROOVESMITH_LAME_ENTRY_POINTS (GROOVESMITH_LAME_NAME)
#undef GROOVESMITH_LAME_NAME
    };
}

bool LameLibrary::isBound()
{
    return library != nullptr;
}

bool LameLibrary::bindLame (const juce::File& file)
{
    if (isBound())
        return true;

    // Only a file by its full path: a bare name would have the loader search the system.
    if (! file.existsAsFile())
        return false;

    auto candidate = std::make_unique<juce::DynamicLibrary>();
    if (! candidate->open (file.getFullPathName()))
        return false;

    EntryPoints found;
    bool complete = true;
#define GROOVESMITH_LAME_LOOK_UP(name)                                                                                 \
    if (complete)                                                                                                      \
    {                                                                                                                  \
        found.name = reinterpret_cast<decltype (found.name)> (candidate->getFunction (#name));                         \
        complete = found.name != nullptr;                                                                              \
    }
    GROOVESMITH_LAME_ENTRY_POINTS (GROOVESMITH_LAME_LOOK_UP)
#undef GROOVESMITH_LAME_LOOK_UP

    if (! complete)
        return false; // the candidate is freed here

    library = std::move (candidate);
    lame = found;
    beInitStream = initStream;
    beEncodeChunk = encodeChunk;
    beDeinitStream = deinitStream;
    beCloseStream = closeStreamByHandle;
    beWriteInfoTag = writeInfoTag;
    return true;
}

void LameLibrary::unbind()
{
    if (! isBound())
        return;

    // Freeing the library frees what its streams hold, as unloading an encoder library with a
    // heap of its own would.
    while (! openStreams.empty())
        closeStream (*openStreams.back());

    beInitStream = nullptr;
    beEncodeChunk = nullptr;
    beDeinitStream = nullptr;
    beCloseStream = nullptr;
    beWriteInfoTag = nullptr;
    lame = {};
    library.reset();
}
