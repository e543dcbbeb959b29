#include "encoding/LoudnessScanThread.h"

#include "encoding/Convertor.h"
#include "encoding/ReplayGainMeter.h"
#include "project/AudioReaders.h"
#include "project/Project.h"

LoudnessScanThread::LoudnessScanThread (const juce::File& fileToRead, ReplayGainMeter& meterToUse, Project& project)
    : juce::ThreadWithProgressWindow (project.translate ("Measuring loudness..."), true, true,
                                      workerCancellingTimeOutMs, workerCancelText),
      file (fileToRead),
      meter (meterToUse)
{
}

void LoudnessScanThread::run()
{
    setStatusMessage (file.getFileNameWithoutExtension());

    juce::AudioFormatManager formats;
    formats.registerFormat (new juce::FlacAudioFormat(), false);
    formats.registerFormat (new juce::OggVorbisAudioFormat(), false);

    auto reader = AudioReaders::open (file, formats);

    // Tracks of more channels than a pair are not measured: their loudness needs a speaker layout.
    if (reader == nullptr || reader->numChannels < 1 || reader->numChannels > 2)
        return;

    const auto length = reader->lengthInSamples;
    const auto channels = (int) reader->numChannels;
    meter.startTrack (reader->sampleRate, channels);

    juce::AudioBuffer<float> buffer (channels, convertorChunkSamples);

    for (juce::int64 position = 0; position < length; position += convertorChunkSamples)
    {
        if (threadShouldExit())
            return;

        setProgress ((double) position / (double) length);

        const auto count = (int) juce::jmin ((juce::int64) convertorChunkSamples, length - position);
        if (! reader->read (buffer.getArrayOfWritePointers(), channels, position, count))
            return;

        meter.addSamples (buffer.getArrayOfReadPointers(), count);
    }

    setProgress (1.0);
    result = true;
}
