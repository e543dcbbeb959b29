#pragma once

// What every fuzz target shares: a home folder of its own, JUCE started once, a dialog seam
// that answers nothing and shows nothing, and the input written to a file of a given name.
#include "project/Dialogs.h"

#include <juce_events/juce_events.h>

#include <cstdint>
#include <cstdlib>

namespace FuzzSupport
{
/** Answers every question with its first button and every chooser with nothing. */
class SilentDialogs : public Dialogs
{
public:
    int runAlert (AlertRequest& request) override
    {
        return request.buttons.empty() ? 0 : request.buttons.front().result;
    }

    bool chooseFile (const FileRequest&, juce::File&) override { return false; }
    bool chooseFiles (const FileRequest&, juce::Array<juce::File>&) override { return false; }
    void runDialog (const juce::String&, juce::Component&, juce::Component*, juce::Colour) override {}
    void openUrl (const juce::URL&) override {}
};

/** A fresh folder under the temporary folder; HOME and the configuration folder point into it. */
inline juce::File home()
{
    static const juce::File folder = []
    {
        auto dir = juce::File::getSpecialLocation (juce::File::tempDirectory)
                       .getChildFile ("groovesmith-fuzz-" + juce::String (juce::Time::currentTimeMillis()) + "-" +
                                      juce::String (juce::Random::getSystemRandom().nextInt()));
        dir.createDirectory();
        dir.getChildFile ("Documents").createDirectory();
        setenv ("HOME", dir.getFullPathName().toRawUTF8(), 1);
        setenv ("XDG_CONFIG_HOME", dir.getChildFile (".config").getFullPathName().toRawUTF8(), 1);
        setenv ("XDG_DOCUMENTS_DIR", dir.getChildFile ("Documents").getFullPathName().toRawUTF8(), 1);
        return dir;
    }();
    return folder;
}

/** Starts JUCE and the silent dialogs, once per process. */
inline void start()
{
    home();

    // JUCE stays up until the process ends: shutting it down from a static destructor would
    // run after JUCE's own statics are gone.
    static const bool started = []
    {
        // As an application, JUCE readies Xlib for threads and installs its X error handlers;
        // without them the first progress window under a virtual display ends the process.
        juce::JUCEApplicationBase::createInstance = []() -> juce::JUCEApplicationBase* { return nullptr; };
        juce::initialiseJuce_GUI();
        return true;
    }();
    juce::ignoreUnused (started);
    static SilentDialogs dialogs;
    Dialogs::install (&dialogs);
}

/** The folder a target works in, emptied. */
inline juce::File workFolder (const char* name)
{
    auto dir = home().getChildFile (name);
    dir.deleteRecursively();
    dir.createDirectory();
    return dir;
}

/** Writes the input to `file`, replacing what was there. */
inline juce::File write (const juce::File& file, const uint8_t* data, size_t size)
{
    file.deleteFile();
    file.replaceWithData (data, size);
    return file;
}
} // namespace FuzzSupport

#include "project/Project.h"

namespace FuzzSupport
{
/** The one project of the process, made after JUCE has started. */
inline Project& project()
{
    start();
    static Project shared;
    return shared;
}
} // namespace FuzzSupport
