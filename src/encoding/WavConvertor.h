#pragma once

#include "encoding/ConvertorThread.h"

/**
    The worker of WavConvertor. Ogg Vorbis, FLAC and AIFF sources are decoded here, at the
    source's own sample rate; every other source goes to iTunes, which reads what the program
    cannot, and may move the file and change `destination`.
*/
class WavConvertorThread : public ConvertorThread
{
public:
    WavConvertorThread (const juce::String& source, const juce::String& destination, Project* project);

    void run() override;

    /** True when a source of this name is decoded here rather than sent to iTunes. */
    static bool decodesItself (const juce::String& source);

    Project* project;
    int format; // the output format when the worker was made

private:
    void decode();
    void sendToItunes();

    JUCE_DECLARE_NON_COPYABLE (WavConvertorThread)
};

/** Makes a 16-bit stereo WAV file out of any other audio file: the program's way to get a file
    that the track page and the other convertors can read. */
using WavConvertor = ThreadedConvertor<WavConvertorThread>;
