#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

/**
    Saves a picture of a component as "<name>.png" in the build's artefacts folder, for a person
    to look at. It is drawn on the window's background colour, as the program's window shows it.
*/
inline juce::File saveSnapshot (juce::Component& component, const juce::String& name)
{
    const auto shot = component.createComponentSnapshot (component.getLocalBounds());
    juce::Image image (juce::Image::RGB, shot.getWidth(), shot.getHeight(), true);
    {
        juce::Graphics g (image);
        g.fillAll (component.findColour (juce::ResizableWindow::backgroundColourId));
        g.drawImageAt (shot, 0, 0);
    }

    const juce::File folder (GROOVESMITH_ARTEFACT_DIR);
    folder.createDirectory();
    const auto file = folder.getChildFile (name + ".png");
    file.deleteFile();
    juce::FileOutputStream stream (file);
    juce::PNGImageFormat().writeImageToStream (image, stream);
    return file;
}
