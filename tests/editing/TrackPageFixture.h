#pragma once

// The track page and its list on their own: a project whose sound card is the tests' device,
// scripted dialogs, track files the tests write, and clicks on the list's rows as the mouse
// gives them.
#include "capture/AudioReader.h"
#include "editing/CFilters.h"
#include "editing/Page2.h"
#include "encoding/AudioFiles.h"
#include "project/Project.h"
#include "support/FakeAudioDevice.h"
#include "support/FakeDialogs.h"
#include "support/TestHelpers.h"

#include "WavFiles.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <vector>

namespace trackpage_test
{
const juce::ModifierKeys leftButton (juce::ModifierKeys::leftButtonModifier);
const juce::ModifierKeys rightButton (juce::ModifierKeys::rightButtonModifier);
const juce::ModifierKeys ctrlLeftButton (juce::ModifierKeys::leftButtonModifier | juce::ModifierKeys::ctrlModifier);

/** A mouse event on `target` with these buttons and keys and this count of clicks. */
inline juce::MouseEvent mouseEvent (juce::Component& target, juce::ModifierKeys mods, int clicks)
{
    const juce::Point<float> position (5.0f, 5.0f);
    const auto now = juce::Time::getCurrentTime();
    return juce::MouseEvent (juce::Desktop::getInstance().getMainMouseSource(), position, mods,
                             juce::MouseInputSource::defaultPressure, juce::MouseInputSource::defaultOrientation,
                             juce::MouseInputSource::defaultRotation, juce::MouseInputSource::defaultTiltX,
                             juce::MouseInputSource::defaultTiltY, &target, &target, now, position, now, clicks, false);
}

/** A click on a row as the mouse makes it: the row's own component takes the press and the
    release, so that the list selects as it would, and tells its model. */
inline void clickRow (juce::ListBox& list, int row, juce::ModifierKeys mods = leftButton, int clicks = 1)
{
    list.scrollToEnsureRowIsOnscreen (row);
    auto* rowComponent = list.getComponentAt (list.getRowPosition (row, true).getCentre());
    ASSERT_NE (rowComponent, nullptr) << "row " << row << " is not on screen";
    ASSERT_NE (rowComponent, &list) << "row " << row << " is not on screen";

    const auto event = mouseEvent (*rowComponent, mods, clicks);
    rowComponent->mouseDown (event);
    rowComponent->mouseUp (event);
}

/** A key pressed while `focused` has the keyboard focus, delivered as the window delivers it:
    to that component first, then to each of its parents until one takes it. */
inline bool pressKey (juce::Component& focused, const juce::KeyPress& key)
{
    for (auto* target = &focused; target != nullptr; target = target->getParentComponent())
        if (target->keyPressed (key))
            return true;

    return false;
}

/** The two clicks of a double click on a row. */
inline void doubleClickRow (juce::ListBox& list, int row)
{
    clickRow (list, row, leftButton, 1);
    clickRow (list, row, leftButton, 2);
}

/** One entry of a menu as the user sees it. */
struct MenuEntry
{
    int result = 0;
    juce::String text;
    bool enabled = false;
    bool separator = false;
};

inline std::vector<MenuEntry> entriesOf (juce::PopupMenu& menu)
{
    std::vector<MenuEntry> entries;
    for (juce::PopupMenu::MenuItemIterator it (menu); it.next();)
    {
        const auto& item = it.getItem();
        entries.push_back ({ item.itemID, item.text, item.isEnabled, item.isSeparator });
    }
    return entries;
}

/** The sample frames of a WAV file, as the program's reader sees them. */
inline int framesOf (const juce::File& file)
{
    return WavFiles::read (file).frames();
}

/** The full paths of files, in order. */
inline juce::StringArray pathsOf (std::initializer_list<juce::File> files)
{
    juce::StringArray paths;
    for (const auto& file : files)
        paths.add (file.getFullPathName());
    return paths;
}

/** The bytes of a file. */
inline juce::MemoryBlock bytesOf (const juce::File& file)
{
    juce::MemoryBlock data;
    file.loadFileAsData (data);
    return data;
}

/** What the sound card received matches the track's samples from `from` on. */
inline void expectOutput (const juce::AudioBuffer<float>& output, int start, const WavFiles::Audio& audio, int from,
                          int count)
{
    for (int i = 0; i < count; ++i)
        for (int c = 0; c < 2; ++c)
            ASSERT_EQ (output.getSample (c, start + i),
                       (float) audio.channels[(size_t) c][(size_t) (from + i)] / 32768.0f)
                << "channel " << c << ", output sample " << start + i;
}

/** A short, lively track: a tone per channel, different for each `seed`. */
inline WavFiles::Audio song (int frames, int seed = 1)
{
    return WavFiles::tone (frames, 44100.0, 300.0 + 70.0 * seed, 0.3 + 0.05 * seed);
}

/** What a filter run of the program makes of a file, computed on a copy of it. */
inline WavFiles::Audio filtered (const juce::File& source, int denoise, int declick, bool normalize)
{
    const auto copy = juce::File::createTempFile ("expected.wav");
    source.copyFileTo (copy);
    CFilters filters;
    const auto path = copy.getFullPathName();
    filters.applyFilters (path.toRawUTF8(), path.toRawUTF8(), denoise, declick, normalize);
    auto result = WavFiles::read (copy);
    copy.deleteFile();
    return result;
}

/** Forgets what a project keeps between starts, the settings and the saved track list, once
    no project is left to write them: the next test in the process starts afresh. */
inline void forgetWhatTheProgramKeeps()
{
    Project::settingsFileLocation().deleteFile();
    Project::savedTrackListFile().getParentDirectory().deleteRecursively();
}

/** A project with the tests' sound card, a folder of its own for each test, and scripted dialogs. */
class TrackFilesTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        folder = audiofiles::freshFolder (juce::String (info->test_suite_name()) + "-" + info->name());
        project = std::make_unique<Project>();
        project->projectType = ripProject;
        device = FakeAudioDeviceType::install (*project, 2, 44100.0, 512, { 48000.0 });
        ASSERT_NE (device, nullptr);
    }

    void TearDown() override
    {
        project.reset();
        forgetWhatTheProgramKeeps();
    }

    /** A WAV track in the test's folder, at the end of the list. */
    juce::File addWav (const juce::String& name, const WavFiles::Audio& audio)
    {
        const auto file = folder.getChildFile (name);
        WavFiles::write (file, audio);
        project->addTrack (file.getFullPathName(), Track::formatOfPath (file.getFullPathName()));
        return file;
    }

    /** An Ogg Vorbis or FLAC track (by the name's ending), at the end of the list. */
    juce::File addEncoded (const juce::String& name, int frames, juce::uint32 seed = 1)
    {
        const auto file = folder.getChildFile (name);
        audiofiles::writeAudio (file, 44100.0, 16, audiofiles::makeSignal (2, frames, 16, seed));
        project->addTrack (file.getFullPathName(), Track::formatOfPath (file.getFullPathName()));
        return file;
    }

    juce::File folder;
    FakeDialogs dialogs;
    std::unique_ptr<Project> project;
    FakeAudioDevice* device = nullptr;
};

/** The page as the wizard shows it, 435 by 345, with its list laid out. */
class TrackPageTest : public TrackFilesTest
{
protected:
    void SetUp() override
    {
        TrackFilesTest::SetUp();
        page = std::make_unique<Page2> (project.get(), &messages);
        page->setSize (435, 345);
    }

    void TearDown() override
    {
        {
            // A player that still plays waits for the audio thread to take its stop.
            auto blocks = device->runBlocksInBackground();
            page.reset();
        }
        EXPECT_EQ (AudioReader::instanceCount(), 0);
        TrackFilesTest::TearDown();
    }

    /** The list reads the project afresh, as the wizard makes it do on entering the page. */
    void showTracks() { page->updateTrackList(); }

    /** A click on a button of the page; a disabled button takes none. */
    void press (juce::Button& button)
    {
        ASSERT_TRUE (button.isEnabled()) << button.getButtonText() << " is disabled";
        page->buttonClicked (&button);
    }

    /** The same, while the device runs blocks: for the clicks that stop or pause a player,
        which waits for the audio thread to take notice. */
    void pressWhileRunning (juce::Button& button)
    {
        auto blocks = device->runBlocksInBackground();
        press (button);
    }

    /** A toggle ticked or unticked by the user. */
    void setToggle (juce::ToggleButton& toggle, bool on)
    {
        if (toggle.getToggleState() != on)
            toggle.setToggleState (on, juce::sendNotificationSync);
    }

    /**
        The sound card plays on until the page's player has gone `frames` further, or has
        ended. The blocks go at the pace of the player's read-ahead, which a block that comes
        too early finds empty, the position then standing still.
    */
    void playFrames (juce::int64 frames)
    {
        auto* reader = page->getReader();
        ASSERT_NE (reader, nullptr);
        const auto target = reader->getPosition() + frames;

        for (int i = 0; i < 20000 && reader->isPlaying() && reader->getPosition() < target; ++i)
        {
            const auto before = reader->getPosition();
            device->runBlocks (1);
            if (reader->getPosition() == before)
                juce::Thread::sleep (1);
        }
    }

    /** The same until the end of the file. */
    void playToTheEnd() { playFrames (std::numeric_limits<juce::int64>::max() / 2); }

    /** One tick of the page's transport timer. */
    void tick() { page->timerCallback(); }

    class MessageLog : public juce::ActionListener
    {
    public:
        void actionListenerCallback (const juce::String& message) override { received.add (message); }
        juce::StringArray received;
    };

    MessageLog messages;
    std::unique_ptr<Page2> page;
};
} // namespace trackpage_test
