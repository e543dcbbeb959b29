// An audio file brought in, read the way the preview reads it: opened by extension through
// every basic format, then played whole through a transport at 44100 Hz.
#include "FuzzSupport.h"
#include "project/AudioReaders.h"

#include <juce_audio_devices/juce_audio_devices.h>

extern "C" int LLVMFuzzerTestOneInput (const uint8_t* data, size_t size)
{
    FuzzSupport::start();

    if (size < 1)
        return 0;

    static const char* const endings[] = { ".wav", ".aiff", ".flac", ".ogg", ".aif", ".WAV" };
    const auto folder = FuzzSupport::workFolder ("audioin");
    const auto file =
        FuzzSupport::write (folder.getChildFile (juce::String ("in") + endings[data[0] % 6]), data + 1, size - 1);

    juce::AudioFormatManager formats;
    formats.registerBasicFormats();

    if (auto reader = AudioReaders::open (file, formats))
    {
        const auto rate = reader->sampleRate;
        juce::AudioFormatReaderSource source (reader.release(), true);
        juce::AudioTransportSource transport;
        transport.setSource (&source, 0, nullptr, rate);
        transport.prepareToPlay (960, 44100.0);
        transport.start();

        juce::AudioSampleBuffer buffer (2, 960);
        const juce::AudioSourceChannelInfo block (buffer);
        const auto frames = source.getTotalLength();

        for (juce::int64 done = 0; done <= frames && ! transport.hasStreamFinished(); done += 960)
            transport.getNextAudioBlock (block);

        transport.setSource (nullptr);
    }

    return 0;
}
