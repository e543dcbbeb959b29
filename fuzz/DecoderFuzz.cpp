// The WAV convertor's decoders: an Ogg, FLAC or AIFF file made a 16-bit stereo WAV.
#include "FuzzSupport.h"
#include "encoding/WavConvertor.h"

extern "C" int LLVMFuzzerTestOneInput (const uint8_t* data, size_t size)
{
    auto& project = FuzzSupport::project();

    if (size < 1)
        return 0;

    static const char* const endings[] = { ".ogg", ".flac", ".aiff", ".aif" };
    const auto folder = FuzzSupport::workFolder ("decoders");
    const auto source =
        FuzzSupport::write (folder.getChildFile (juce::String ("in") + endings[data[0] % 4]), data + 1, size - 1);

    WavConvertorThread worker (source.getFullPathName(), folder.getChildFile ("out.wav").getFullPathName(), &project);
    worker.run();
    return 0;
}
