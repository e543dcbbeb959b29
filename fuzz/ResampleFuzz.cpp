// Resampling by the track page's ratio, in place, on a file of the format the first byte gives.
#include "FuzzSupport.h"
#include "editing/ResamplerThread.h"

extern "C" int LLVMFuzzerTestOneInput (const uint8_t* data, size_t size)
{
    FuzzSupport::start();

    if (size < 1)
        return 0;

    static const char* const endings[] = { ".wav", ".aiff", ".flac", ".ogg" };
    const auto folder = FuzzSupport::workFolder ("resample");
    auto input =
        FuzzSupport::write (folder.getChildFile (juce::String ("in") + endings[data[0] % 4]), data + 1, size - 1);
    auto output = folder.getChildFile ("out.wav");

    ResamplerThread worker (&input, &output, 0.74);
    worker.run();
    return 0;
}
