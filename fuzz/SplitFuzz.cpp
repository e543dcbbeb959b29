// Split: a file cut at a position the first byte gives, in tenths of a second.
#include "FuzzSupport.h"
#include "editing/SplitThread.h"

extern "C" int LLVMFuzzerTestOneInput (const uint8_t* data, size_t size)
{
    FuzzSupport::start();

    if (size < 2)
        return 0;

    static const char* const endings[] = { ".wav", ".aiff", ".flac", ".ogg" };
    const auto folder = FuzzSupport::workFolder ("split");
    const auto source =
        FuzzSupport::write (folder.getChildFile (juce::String ("in") + endings[data[1] % 4]), data + 2, size - 2);

    SplitThread worker (source, data[0] / 10.0, folder.getChildFile ("start.wav"), folder.getChildFile ("end.wav"));
    worker.run();
    return 0;
}
