// A cover picture dropped on the album page, decoded for its preview.
#include "FuzzSupport.h"
#include "encoding/ThumbnailComponent.h"

extern "C" int LLVMFuzzerTestOneInput (const uint8_t* data, size_t size)
{
    FuzzSupport::start();

    if (size < 1)
        return 0;

    static const char* const endings[] = { ".jpg", ".png", ".jpeg", ".gif" };
    const auto file = FuzzSupport::write (
        FuzzSupport::workFolder ("cover").getChildFile (juce::String ("cover") + endings[data[0] % 4]), data + 1,
        size - 1);

    ThumbnailComponent preview;
    preview.setSize (80, 80);
    preview.selectedFileChanged (file);
    preview.timerCallback();

    if (preview.getThumbnail() != nullptr)
    {
        juce::Image canvas (juce::Image::RGB, 80, 80, true);
        juce::Graphics g (canvas);
        preview.paint (g);
    }

    return 0;
}
