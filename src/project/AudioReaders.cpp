#include "project/AudioReaders.h"

#include <FLAC/stream_decoder.h>

#include <cmath>
#include <cstring>

namespace
{
/** Passes everything through to the file, and remembers where the reader last went and how
    much it last asked for: a one-frame read then tells where the audio starts and how big a
    frame is, so the length can be checked against the file's size. */
class WatchedInput : public juce::InputStream
{
public:
    explicit WatchedInput (std::unique_ptr<juce::InputStream> source)
        : input (std::move (source))
    {
    }

    juce::int64 getTotalLength() override { return input->getTotalLength(); }
    bool isExhausted() override { return input->isExhausted(); }
    juce::int64 getPosition() override { return input->getPosition(); }

    int read (void* destination, int bytes) override
    {
        lastReadStart = input->getPosition();
        lastReadSize = bytes;
        return input->read (destination, bytes);
    }

    bool setPosition (juce::int64 position) override { return input->setPosition (position); }

    juce::int64 lastReadStart = -1;
    int lastReadSize = 0;

private:
    std::unique_ptr<juce::InputStream> input;
};

bool isPlainPcm (const juce::AudioFormatReader& reader)
{
    const auto name = reader.getFormatName();
    return name == "WAV file" || name == "AIFF file";
}

bool isFlac (const juce::AudioFormatReader& reader)
{
    return reader.getFormatName() == "FLAC file";
}

bool headerMakesSense (const juce::AudioFormatReader& reader)
{
    return reader.numChannels >= 1 && reader.numChannels <= AudioReaders::maxChannels &&
           std::isfinite (reader.sampleRate) && reader.sampleRate >= AudioReaders::minSampleRate &&
           reader.sampleRate <= AudioReaders::maxSampleRate && reader.bitsPerSample >= 1 &&
           reader.bitsPerSample <= 64 && reader.lengthInSamples >= 0;
}

/** The uncompressed formats read frame n at start + n * frameSize: one frame read at 0 shows
    both, and what lies between the start and the end of the file is all there is. */
void cutPcmToContent (juce::AudioFormatReader& reader, WatchedInput& watched)
{
    if (reader.lengthInSamples <= 0)
        return;

    int frame[1] = {};
    int* channels[] = { frame, nullptr };
    watched.lastReadSize = 0;
    reader.read (channels, 1, 0, 1, false);

    if (watched.lastReadSize <= 0 || watched.lastReadStart < 0)
    {
        reader.lengthInSamples = 0;
        return;
    }

    const auto available = juce::jmax ((juce::int64) 0, watched.getTotalLength() - watched.lastReadStart);
    reader.lengthInSamples = juce::jmin (reader.lengthInSamples, available / watched.lastReadSize);
}

void cutFlacToContent (juce::AudioFormatReader& reader, const juce::File& file)
{
    if (reader.lengthInSamples <= 0)
        return;

    if (auto stream = file.createInputStream())
        reader.lengthInSamples = AudioReaders::countFlacFrames (*stream, reader.lengthInSamples);
    else
        reader.lengthInSamples = 0;
}

/** An RF64 file's ds64 chunk states the data's size in 64 bits; JUCE's reader adds it to a
    position, which a size near the largest 64-bit number takes past that number. No disk holds
    2^62 bytes: such a claim is refused before the reader sees it. */
bool rf64ClaimsAnImpossibleSize (const juce::uint8 (&header)[36])
{
    if (std::memcmp (header, "RF64", 4) != 0 || std::memcmp (header + 12, "ds64", 4) != 0)
        return false;

    const auto riffSize = juce::ByteOrder::littleEndianInt64 (header + 20);
    const auto dataSize = juce::ByteOrder::littleEndianInt64 (header + 28);
    const auto largest = (juce::uint64) 1 << 62;
    return riffSize >= largest || dataSize >= largest;
}

/** JUCE's WAV reader takes each metadata chunk (bext, LIST, smpl...) whole into memory at the
    size its header gives: a chunk other than the audio that claims more than the rest of the
    file is a lie of up to four gigabytes, and the file is refused. The audio chunk itself may
    run past the end (a recording cut short): it is cut to what is there. */
bool riffChunkClaimsMoreThanTheFile (juce::InputStream& stream, const juce::uint8 (&header)[36])
{
    // The reader looks no further than the RIFF chunk's own end: what follows is left alone.
    const auto total = stream.getTotalLength();
    const auto riffEnd =
        std::memcmp (header, "RF64", 4) == 0
            ? 8 + (juce::int64) juce::jmin (juce::ByteOrder::littleEndianInt64 (header + 20), (juce::uint64) 1 << 62)
            : 8 + (juce::int64) juce::ByteOrder::littleEndianInt (header + 4);
    const auto end = juce::jmin (total, riffEnd);
    juce::int64 position = 12;

    for (int chunk = 0; chunk < 100000 && position + 8 <= end; ++chunk)
    {
        juce::uint8 header[8] = {};
        if (! stream.setPosition (position) || stream.read (header, 8) != 8)
            break;

        const auto size = (juce::int64) juce::ByteOrder::littleEndianInt (header + 4);
        if (std::memcmp (header, "data", 4) != 0 && size > total - position - 8)
            return true;

        position += 8 + size + (size & 1);
    }

    return false;
}

bool claimsAnImpossibleSize (juce::InputStream& stream)
{
    juce::uint8 header[36] = {};
    const auto got = stream.read (header, sizeof (header));
    bool impossible = false;

    if (got == (int) sizeof (header) && std::memcmp (header + 8, "WAVE", 4) == 0)
        impossible = rf64ClaimsAnImpossibleSize (header) || riffChunkClaimsMoreThanTheFile (stream, header);

    stream.setPosition (0);
    return impossible;
}

std::unique_ptr<juce::AudioFormatReader> checkedReader (const juce::File& file, juce::AudioFormat& format)
{
    auto stream = file.createInputStream();

    if (stream == nullptr || claimsAnImpossibleSize (*stream))
        return {};

    auto watched = std::make_unique<WatchedInput> (std::move (stream));
    auto* watching = watched.get();
    std::unique_ptr<juce::AudioFormatReader> reader (format.createReaderFor (watched.release(), true));

    if (reader == nullptr || ! headerMakesSense (*reader))
        return {};

    if (isPlainPcm (*reader))
        cutPcmToContent (*reader, *watching);
    else if (isFlac (*reader))
        cutFlacToContent (*reader, file);

    return reader;
}
} // namespace

namespace AudioReaders
{
std::unique_ptr<juce::AudioFormatReader> open (const juce::File& file, juce::AudioFormat& format)
{
    if (! file.existsAsFile())
        return {};

    return checkedReader (file, format);
}

std::unique_ptr<juce::AudioFormatReader> open (const juce::File& file, juce::AudioFormatManager& formats)
{
    if (! file.existsAsFile())
        return {};

    for (int i = 0; i < formats.getNumKnownFormats(); ++i)
    {
        auto* format = formats.getKnownFormat (i);

        if (format->canHandleFile (file))
            if (auto reader = checkedReader (file, *format))
                return reader;
    }

    return {};
}

//==============================================================================
namespace
{
struct FlacCount
{
    juce::InputStream& input;
    juce::int64 frames = 0;
    bool failed = false;
    unsigned channels = 0, bits = 0;
};

FLAC__StreamDecoderReadStatus readFlac (const FLAC__StreamDecoder*, FLAC__byte buffer[], size_t* bytes, void* data)
{
    auto& count = *static_cast<FlacCount*> (data);
    const auto got = count.input.read (buffer, (int) juce::jmin (*bytes, (size_t) 65536));

    if (got <= 0)
    {
        *bytes = 0;
        return FLAC__STREAM_DECODER_READ_STATUS_END_OF_STREAM;
    }

    *bytes = (size_t) got;
    return FLAC__STREAM_DECODER_READ_STATUS_CONTINUE;
}

/** The stream's description: the reader takes its channels and depth from there. */
void flacInfo (const FLAC__StreamDecoder*, const FLAC__StreamMetadata* metadata, void* data)
{
    if (metadata->type != FLAC__METADATA_TYPE_STREAMINFO)
        return;

    auto& count = *static_cast<FlacCount*> (data);
    count.channels = metadata->data.stream_info.channels;
    count.bits = metadata->data.stream_info.bits_per_sample;
}

FLAC__StreamDecoderWriteStatus countFlac (const FLAC__StreamDecoder*, const FLAC__Frame* frame,
                                          const FLAC__int32* const[], void* data)
{
    auto& count = *static_cast<FlacCount*> (data);

    // The reader copies as many channels as the description names from every frame: a frame
    // of fewer would have it read channels that are not there. The audio ends before it.
    if (frame->header.channels != count.channels || frame->header.bits_per_sample != count.bits)
    {
        count.failed = true;
        return FLAC__STREAM_DECODER_WRITE_STATUS_ABORT;
    }

    count.frames += frame->header.blocksize;
    return FLAC__STREAM_DECODER_WRITE_STATUS_CONTINUE;
}

void flacError (const FLAC__StreamDecoder*, FLAC__StreamDecoderErrorStatus, void*) {}
} // namespace

juce::int64 countFlacFrames (juce::InputStream& stream, juce::int64 limit)
{
    // Decoded the way the reader will decode it, frame by frame, so that a frame the reader
    // would drop is not counted either.
    FlacCount count{ stream };
    auto* decoder = FLAC__stream_decoder_new();

    if (decoder == nullptr)
        return 0;

    if (FLAC__stream_decoder_init_stream (decoder, readFlac, nullptr, nullptr, nullptr, nullptr, countFlac, flacInfo,
                                          flacError, &count) == FLAC__STREAM_DECODER_INIT_STATUS_OK)
    {
        while (count.frames < limit && ! count.failed)
        {
            if (! FLAC__stream_decoder_process_single (decoder))
                break;

            const auto state = FLAC__stream_decoder_get_state (decoder);
            if (state == FLAC__STREAM_DECODER_END_OF_STREAM || state == FLAC__STREAM_DECODER_ABORTED)
                break;
        }
    }

    FLAC__stream_decoder_delete (decoder);
    return juce::jlimit ((juce::int64) 0, limit, count.frames);
}
} // namespace AudioReaders
