// Merge: the input cut in two at the place its first byte gives, each half a file of the
// format the second byte gives, written one after the other.
#include "FuzzSupport.h"
#include "editing/MergeThread.h"

extern "C" int LLVMFuzzerTestOneInput (const uint8_t* data, size_t size)
{
    FuzzSupport::start();

    if (size < 2)
        return 0;

    static const char* const endings[] = { ".wav", ".aiff", ".flac", ".ogg" };
    const auto rest = size - 2;
    const auto cut = rest * data[0] / 255;
    const auto folder = FuzzSupport::workFolder ("merge");
    const auto first =
        FuzzSupport::write (folder.getChildFile (juce::String ("first") + endings[data[1] % 4]), data + 2, cut);
    const auto second = FuzzSupport::write (folder.getChildFile (juce::String ("second") + endings[(data[1] / 4) % 4]),
                                            data + 2 + cut, rest - cut);

    MergeThread worker (first, second, folder.getChildFile ("out.wav"));
    worker.run();
    return 0;
}
