#include "encoding/Mp3LameConvertor.h"

#include "encoding/ReplayGainMeter.h"
#include "project/AudioReaders.h"
#include "project/Int16Samples.h"
#include "project/Project.h"

#include <cstring>

Mp3LameConvertorThread::Mp3LameConvertorThread (const juce::String& sourceToRead,
                                                const juce::String& destinationToWrite, Project* project)
    : ConvertorThread (project->translate ("Converting to mp3..."), sourceToRead, destinationToWrite, true)
{
    // Bound here, on the message thread, and released when the track is done.
    if (! LameLibrary::bindLame (project->lameLibrary))
    {
        result = false;
        return;
    }

    const juce::File sourceFile (source);
    if (! sourceFile.exists())
    {
        result = false;
        return;
    }

    juce::WavAudioFormat wav;
    reader = AudioReaders::open (sourceFile, wav);

    // The settings need the source's rate: a file that is no WAV stops here.
    if (reader == nullptr)
    {
        result = false;
        return;
    }

    auto config = configFor (reader->sampleRate, project->lameVbr, project->lameQuality);
    encoder = std::make_unique<LameStreamState>();

    juce::uint32 bufferSize = 0;
    LameLibrary::beInitStream (&config, &encoder->samplesPerChunk, &bufferSize, &encoder->stream);
    encoder->outputBuffer.allocate (bufferSize, false);
}

Mp3LameConvertorThread::~Mp3LameConvertorThread()
{
    stopThread (workerCancellingTimeOutMs);

    // A track that failed before its end may have left the library bound.
    LameLibrary::unbind();
}

BE_CONFIG Mp3LameConvertorThread::configFor (double sampleRate, bool vbr, int quality)
{
    BE_CONFIG config;
    std::memset (&config, 0, sizeof (config));

    config.dwConfig = BE_CONFIG_LAME;
    auto& settings = config.format.LHV1;
    settings.dwStructVersion = 1;
    settings.dwStructSize = sizeof (BE_CONFIG);
    settings.dwSampleRate = (juce::uint32) sampleRate; // the encoder resamples to the stream's rate
    settings.dwReSampleRate = 44100;
    settings.nMode = BE_MP3_MODE_JSTEREO;
    settings.dwBitrate = vbr ? 192u : (juce::uint32) quality;
    settings.dwMaxBitrate = 0;
    settings.nPreset = LQP_R3MIX;
    settings.bOriginal = 1;
    settings.bWriteVBRHeader = 1;
    settings.bEnableVBR = vbr ? 1 : 0;
    // The format page's best VBR level has the id 10.
    settings.nVBRQuality = vbr ? quality % 10 : 0;
    settings.bNoRes = 1;
    return config;
}

void Mp3LameConvertorThread::run()
{
    setStatusMessage (statusFor (source));
    result = true;

    const juce::File destinationFile (destination);
    if (destinationFile.exists())
        destinationFile.deleteFile();

    WriteOutcome outcome;
    auto output = CheckedFileOutput::open (destinationFile, convertorOutputBufferSize, outcome);

    // A stream the encoder refused has no chunk size, and nothing could be encoded with it.
    if (reader == nullptr || output == nullptr || encoder == nullptr || encoder->samplesPerChunk == 0)
    {
        result = false;
        return;
    }

    const auto chunk = (int) encoder->samplesPerChunk; // sample frames, not values
    const auto length = reader->lengthInSamples;

    juce::HeapBlock<int> left ((size_t) chunk), right ((size_t) chunk);
    int* const buffers[] = { left.get(), right.get() };
    juce::HeapBlock<juce::int16> interleaved, shortLeft, shortRight;

    // The encoder brings the source's rate to its own; what it is given is at the source's.
    if (meter != nullptr)
        meter->startTrack (reader->sampleRate);

    for (juce::int64 position = 0; position < length; position += chunk)
    {
        if (threadShouldExit())
        {
            // Cancel keeps what was encoded so far; the encoder is not flushed.
            result = position >= length;
            reader.reset();
            LameLibrary::unbind();
            output.reset();
            encoder->outputBuffer.free();
            return;
        }

        setProgress ((double) position / (double) length);

        // Past the end of the file the reader gives silence: the last chunk is a whole one too.
        if (! reader->read (buffers, 2, position, chunk, true))
        {
            result = false;
            break;
        }

        if (interleaved == nullptr)
            interleaved.allocate ((size_t) chunk * 2, true);
        else
            interleaved.clear ((size_t) chunk * 2);

        const bool stereo = reader->numChannels >= 2;
        const juce::int16* leftValues = nullptr;
        const juce::int16* rightValues = nullptr;

        if (reader->usesFloatingPointData)
        {
            if (shortLeft == nullptr)
                shortLeft.allocate ((size_t) chunk, false);
            floatsToInt16 (reinterpret_cast<const float*> (left.get()), shortLeft.get(), chunk);

            if (stereo)
            {
                if (shortRight == nullptr)
                    shortRight.allocate ((size_t) chunk, false);
                floatsToInt16 (reinterpret_cast<const float*> (right.get()), shortRight.get(), chunk);
            }

            leftValues = shortLeft.get();
            rightValues = stereo ? shortRight.get() : shortLeft.get();
            for (int i = 0; i < chunk; ++i)
            {
                interleaved[2 * i] = leftValues[i];
                interleaved[2 * i + 1] = rightValues[i];
            }
        }
        else
        {
            // Left-justified integers: the upper half is the 16-bit sample.
            const int* rightInts = stereo ? right.get() : left.get();
            for (int i = 0; i < chunk; ++i)
            {
                interleaved[2 * i] = (juce::int16) (left[i] >> 16);
                interleaved[2 * i + 1] = (juce::int16) (rightInts[i] >> 16);
            }
        }

        // The silence that pads the last chunk is no part of the track.
        if (meter != nullptr)
            meter->addSamples (interleaved.get(), (int) juce::jmin ((juce::int64) chunk, length - position));

        juce::uint32 written = 0;
        if (LameLibrary::beEncodeChunk (encoder->stream, (juce::uint32) chunk * 2, interleaved.get(),
                                        encoder->outputBuffer.get(), &written) != BE_ERR_SUCCESSFUL)
        {
            // The encoder is in no state to be flushed: keep what was written and let it go.
            result = false;
            output.reset();
            LameLibrary::unbind();
            break;
        }

        if (! output->write (encoder->outputBuffer.get(), written))
        {
            result = false;
            break;
        }
    }

    setProgress (1.0);
    left.free();
    right.free();
    interleaved.free();
    shortLeft.free();
    shortRight.free();

    if (LameLibrary::isBound())
    {
        juce::uint32 written = 0;
        LameLibrary::beDeinitStream (encoder->stream, encoder->outputBuffer.get(), &written);
        if (written != 0 && ! output->write (encoder->outputBuffer.get(), written))
            result = false;
    }

    LameLibrary::unbind();
    output.reset();
    reader.reset();
    encoder->outputBuffer.free();

    // An MP3 the system did not take whole is no finished track.
    if (outcome.failed)
    {
        destinationFile.deleteFile();
        result = false;
    }
}

//==============================================================================
bool Mp3LameConvertor::convert (juce::String source, juce::String destination, Project* projectToUse)
{
    if (project == nullptr)
    {
        if (projectToUse == nullptr)
            return false;
        project = projectToUse;
    }

    // The encoder is set up through its settings record alone; the command-line form of the
    // same settings is only worked out.
    auto arguments = project->lameArguments();
    if (arguments.isEmpty())
        arguments = " -V2 ";
    juce::ignoreUnused (arguments);

    Mp3LameConvertorThread thread (source, destination, project);
    thread.meter = meter;
    thread.runThread (juce::Thread::Priority::normal);
    return thread.result;
}
