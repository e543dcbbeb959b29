#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

#include <memory>

/**
    A small preview of a cover picture. The picture is decoded on a short timer after the file
    changes, so that a quick run of changes loads only the last one; it is drawn centred and
    never enlarged. A file that is no picture shows nothing, silently.
*/
class ThumbnailComponent : public juce::FilePreviewComponent, public juce::Timer
{
public:
    ThumbnailComponent();
    ~ThumbnailComponent() override;

    /** Keeps the file and loads it 100 ms later, unless it is the one already kept. */
    void selectedFileChanged (const juce::File& newFile) override;

    void paint (juce::Graphics& g) override;

    /** The file last given, whether or not it could be decoded. */
    const juce::File& getFile() const { return file; }

    /** The decoded picture, or null when nothing shows. */
    const juce::Image* getThumbnail() const { return thumbnail.get(); }

    /** Loads the kept file now, as the timer does. */
    void timerCallback() override;

private:
    juce::File file;
    std::unique_ptr<juce::Image> thumbnail;
    juce::String details;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (ThumbnailComponent)
};
