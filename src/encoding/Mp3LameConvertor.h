#pragma once

#include "encoding/ConvertorThread.h"
#include "encoding/LameLibrary.h"

/** One encoder stream of one track: its handle, the chunk size the encoder asks for, in sample
    frames, and the buffer that receives the encoded bytes. */
struct LameStreamState
{
    HBE_STREAM stream = 0;
    juce::uint32 samplesPerChunk = 0;
    juce::HeapBlock<juce::uint8> outputBuffer;
};

/**
    The worker of Mp3LameConvertor: it binds the encoder library for this one track, hands it
    the track's WAV samples as 16-bit stereo in whole chunks, the last one padded with silence,
    writes what comes back, and releases the library at the end. Cancel leaves the part already
    written on disk.
*/
class Mp3LameConvertorThread : public ConvertorThread
{
public:
    Mp3LameConvertorThread (const juce::String& source, const juce::String& destination, Project* project);
    ~Mp3LameConvertorThread() override;

    void run() override;

    /** The encoder's settings for a source at `sampleRate` with the MP3 settings of the format
        page: VBR at level `quality` modulo 10, or a constant `quality` kbit/s. */
    static BE_CONFIG configFor (double sampleRate, bool vbr, int quality);

    std::unique_ptr<juce::AudioFormatReader> reader; // owns the stream opened on the source
    std::unique_ptr<LameStreamState> encoder;

private:
    JUCE_DECLARE_NON_COPYABLE (Mp3LameConvertorThread)
};

/** MP3 through the encoder library named in the settings. */
class Mp3LameConvertor : public Convertor
{
public:
    bool convert (juce::String source, juce::String destination, Project* project) override;

    /** The project of the first call, kept for the later ones. */
    Project* project = nullptr;
};
