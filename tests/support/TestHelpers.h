#pragma once

#include "project/Project.h"

#include <juce_events/juce_events.h>

/** Lets the message loop run: timers fire, asynchronous messages arrive. */
inline void runMessageLoopFor (int milliseconds)
{
    juce::MessageManager::getInstance()->runDispatchLoopUntil (milliseconds);
}

/** The home folder of the running test: made fresh and empty for each test, and deleted after it
    (TestMain), so that whatever a test writes there is its own. The user's configuration,
    documents and temporary folders lie below it. */
inline juce::File testHome()
{
    return juce::File (juce::SystemStats::getEnvironmentVariable ("GROOVESMITH_TEST_HOME", "/tmp"));
}

/** A new, empty folder below the running test's home, named after `name`. */
inline juce::File freshFolder (const juce::String& name)
{
    auto folder = testHome().getNonexistentChildFile (name, {}, false);
    folder.createDirectory();
    return folder;
}

/** A small file standing in for a track, with its folder made if need be. */
inline juce::File makeFile (const juce::File& folder, const juce::String& name, const juce::String& text = "sound")
{
    folder.createDirectory();
    auto file = folder.getChildFile (name);
    file.replaceWithText (text);
    return file;
}

/** The paths of the track list, in list order. */
inline juce::StringArray trackPaths (const Project& project)
{
    juce::StringArray paths;
    for (int i = 0; i < project.trackCount(); ++i)
        paths.add (project.trackPath (i));
    return paths;
}

/** Writes a file of that name into the folder, as the convertors do, and finds it there. */
inline bool fileCanBeMade (const juce::File& folder, const juce::String& name)
{
    const auto file = folder.getChildFile (name);
    bool written = false;
    {
        juce::FileOutputStream stream (file);
        written = stream.openedOk() && stream.writeText ("sound", false, false, nullptr);
    }
    const bool found = folder.getChildFile (name).getSize() == 5;
    file.deleteFile();
    return written && found;
}
