#pragma once

#include "encoding/ConvertorThread.h"

/**
    The worker shared by the AIFF, FLAC and Ogg Vorbis convertors: it copies a WAV file's
    samples, chunk by chunk and untouched, into the format's writer. The writer is always told
    44100 Hz and two channels, whatever the source is.
*/
class FormatConvertorThread : public ConvertorThread
{
public:
    void run() override;

protected:
    FormatConvertorThread (const juce::String& title, const juce::String& source, const juce::String& destination,
                           std::unique_ptr<juce::AudioFormat> format, int bitsPerSample, int qualityOptionIndex);

private:
    std::unique_ptr<juce::AudioFormat> format;
    int bitsPerSample;
    int qualityOptionIndex;

    JUCE_DECLARE_NON_COPYABLE (FormatConvertorThread)
};

/** AIFF, 16 bits. */
class AiffConvertorThread : public FormatConvertorThread
{
public:
    AiffConvertorThread (const juce::String& source, const juce::String& destination, Project* project);
};

/** FLAC, 16 bits, with the writer's default compression. */
class FlacConvertorThread : public FormatConvertorThread
{
public:
    FlacConvertorThread (const juce::String& source, const juce::String& destination, Project* project);
};

/** Ogg Vorbis at the middle quality, variable bit rate quality 0.5. */
class OggConvertorThread : public FormatConvertorThread
{
public:
    OggConvertorThread (const juce::String& source, const juce::String& destination, Project* project);

    /** JUCE's quality index for Vorbis quality 0.5. */
    static constexpr int mediumQualityIndex = 5;
};

//==============================================================================
using AiffConvertor = ThreadedConvertor<AiffConvertorThread>;
using FlacConvertor = ThreadedConvertor<FlacConvertorThread>;
using OggConvertor = ThreadedConvertor<OggConvertorThread>;
