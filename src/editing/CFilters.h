#pragma once

#include "editing/SampleMemory.h"

#include <juce_audio_formats/juce_audio_formats.h>

class Project;

/**
    A filter run on one WAV file: the file is loaded whole from its top 16 bits, normalized,
    passed through the declicker and the denoiser, scaled by 0.8 and written in the file's own
    format, behind a progress window with Cancel. Input and output may be the same file.

    The run writes into a temporary file beside the output, which takes the output's place only
    when the run has come to its end: an output whose writer cannot be made (a depth that WAV
    writing has not, such as 12 or 20 bits) is left as it was.
*/
class CFilters
{
public:
    CFilters();
    explicit CFilters (Project* projectForTexts);
    virtual ~CFilters();

    /** The whole run. Failures show the error box; a cancelled run leaves no output file. */
    void applyFilters (const char* inputPath, const char* outputPath, int denoiseThreshold, int declickSensibility,
                       bool normalize);

    int numSamples = 0;
    int numChannels = 0;
    double sampleRate = 0.0;
    int bitsPerSample = 0;
    juce::StringPairArray metadataValues{ true };
    juce::AudioFormatReader* reader = nullptr; // only while the input is being loaded
    juce::AudioFormatWriter* writer = nullptr;
    float* samples = nullptr; // interleaved, numSamples * numChannels entries

    /** Threads a run may use: with 2, a stereo run filters its two channels side by side. */
    int threadsToUse = juce::SystemStats::getNumCpus() > 1 ? 2 : 1;

protected:
    Project* project = nullptr; // translates the shown texts; may be null

    /** The two halves of the run's file side: the input loaded into `samples`, the writer made
        on a temporary file beside the output; each false on failure. */
    bool openInput (const juce::File& input);
    bool openOutput (const juce::File& output);

    /** Completes the file written and puts it in the output's place; false when it could not. */
    bool replaceOutput();

private:
    void loadSamples (juce::AudioFormatReader& source);

    std::unique_ptr<juce::TemporaryFile> pendingOutput; // goes after the writer that writes it
    std::unique_ptr<juce::AudioFormatWriter> ownedWriter;
    SampleMemory ownedSamples;

    JUCE_DECLARE_NON_COPYABLE (CFilters)
};
