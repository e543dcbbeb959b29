#include "encoding/ThumbnailComponent.h"

#include "encoding/PictureDecoder.h"

namespace
{
// Centred both ways, shrunk to fit when too big, never enlarged.
const juce::RectanglePlacement thumbnailPlacement (juce::RectanglePlacement::xMid | juce::RectanglePlacement::yMid |
                                                   juce::RectanglePlacement::onlyReduceInSize);

constexpr int loadDelayMilliseconds = 100;
} // namespace

ThumbnailComponent::ThumbnailComponent() = default;

ThumbnailComponent::~ThumbnailComponent()
{
    stopTimer();
}

void ThumbnailComponent::selectedFileChanged (const juce::File& newFile)
{
    if (newFile == file)
        return;

    file = newFile;
    startTimer (loadDelayMilliseconds);
}

void ThumbnailComponent::timerCallback()
{
    stopTimer();
    thumbnail.reset();
    repaint();

    std::unique_ptr<juce::InputStream> stream (file.createInputStream());
    if (stream == nullptr)
        return;

    // The program's own decoder: a broken picture gives nothing, never an error that ends the program.
    const auto image = PictureDecoder::decode (*stream);
    if (image.isValid())
        thumbnail = std::make_unique<juce::Image> (image.createCopy());
}

void ThumbnailComponent::paint (juce::Graphics& g)
{
    if (thumbnail == nullptr)
        return;

    g.setFont (13.0f);
    g.drawImageWithin (*thumbnail, 0, 0, getWidth(), getHeight(), thumbnailPlacement);
}
