// The track page: its controls, the preview of the ticked effects on a temporary copy, Apply,
// and the files brought in through its chooser, on real track files.
#include "TrackPageFixture.h"

using namespace trackpage_test;

namespace
{
/** Sample for sample within one step, from `from` in the expected on. */
void expectSamples (const WavFiles::Audio& actual, int actualFrom, const WavFiles::Audio& expected, int expectedFrom,
                    int count)
{
    ASSERT_EQ (actual.channels.size(), expected.channels.size());
    ASSERT_GE (actual.frames(), actualFrom + count);
    ASSERT_GE (expected.frames(), expectedFrom + count);
    for (size_t c = 0; c < actual.channels.size(); ++c)
        for (int i = 0; i < count; ++i)
            ASSERT_NEAR (actual.channels[c][(size_t) (actualFrom + i)],
                         expected.channels[c][(size_t) (expectedFrom + i)], 1)
                << "channel " << c << ", frame " << actualFrom + i;
}

bool isSilentOutput (const juce::AudioBuffer<float>& output)
{
    return output.getMagnitude (0, output.getNumSamples()) == 0.0f;
}

juce::String tooltipOf (juce::Component& component)
{
    auto* client = dynamic_cast<juce::TooltipClient*> (&component);
    return client != nullptr ? client->getTooltip() : juce::String ("(no tooltip)");
}

juce::String textOf (juce::Component& component)
{
    if (auto* button = dynamic_cast<juce::Button*> (&component))
        return button->getButtonText();
    if (auto* label = dynamic_cast<juce::Label*> (&component))
        return label->getText();
    if (auto* group = dynamic_cast<juce::GroupComponent*> (&component))
        return group->getText();
    return {};
}

/** Two tracks of the page's list, shown. */
class TwoTracks : public TrackPageTest
{
protected:
    void SetUp() override
    {
        TrackPageTest::SetUp();
        audio[0] = song (30000, 1);
        audio[1] = song (40000, 2);
        files[0] = addWav ("Track1.wav", audio[0]);
        files[1] = addWav ("Track2.wav", audio[1]);
        showTracks();
    }

    WavFiles::Audio audio[2];
    juce::File files[2];
};
} // namespace

//==============================================================================
TEST_F (TrackPageTest, everyControlHasItsTextTooltipNameAndPlace)
{
    struct Control
    {
        juce::Component* component;
        juce::String name, text, tooltip;
        juce::Rectangle<int> bounds;
    };

    auto& p = *page;
    const std::vector<Control> controls{
        { &p.trackListGroup, "trackListgroup", "Track List", "(no tooltip)", { 5, 70, 230, 140 } },
        { &p.trackList, "trackList", "", "", { 15, 88, 210, 110 } },
        { &p.effectGroup, "effectgroup", "Filters", "(no tooltip)", { 240, 70, 185, 140 } },
        { &p.denoiserToggle, "", "Denoiser", "Denoiser filter", { 245, 88, 90, 23 } },
        { &p.denoiserSlider, "DenoiserSld", "", "", { 330, 90, 90, 23 } },
        { &p.declickerToggle, "", "Declicker", "Declicker filter", { 245, 123, 90, 23 } },
        { &p.declickerSlider, "DeclickerSld", "", "", { 330, 125, 90, 23 } },
        { &p.normalizerToggle, "", "Normalizer", "Normalizer filter", { 245, 152, 90, 23 } },
        { &p.applyButton, "", "Apply", "Apply effects directly to the selected tracks", { 345, 177, 70, 25 } },
        { &p.resampleToggle, "", "45 -> 33", "Resample filter : restore a 33 rpm ripped at 45", { 245, 177, 70, 30 } },
        { &p.helpLabel,
          "text",
          "Double click on a track to rename it. Right click on a track to access actions on it. You may preview the "
          "selected effects on a track. Effects are applied on the selected tracks.",
          "",
          { 30, 260, 380, 80 } },
        { &p.thresholdLabel, "threshold", "Threshold", "", { 345, 85, 55, 10 } },
        { &p.sensibilityLabel, "sensibility", "Sensibility", "", { 345, 118, 55, 12 } },
        { &p.addButton, "", "Add a track", "Capture new tracks to add", { 10, 240, 80, 25 } },
        { &p.newCaptureButton,
          "",
          "Do new capture",
          "Erase all tracks and start a new capture",
          { 130, 240, 100, 25 } },
        { &p.playButton, "", "Play", "Click here to play the current track", { 10, 210, 75, 25 } },
        { &p.stopButton, "", "stop", "Click here to stop the current track playing", { 130, 210, 75, 25 } },
        { &p.positionSlider, "slider", "", "Seek", { 215, 212, 200, 20 } },
        { &p.positionSlider.getTimeLabel(), "time", "", "", { 215, 212, 200, 20 } },
        { &p.splitButton, "", "^ Split here ^", "split the current track at paused position", { 250, 240, 120, 25 } },
    };

    EXPECT_EQ (page->getName(), "Page2");
    int lastIndex = -1;
    for (const auto& control : controls)
    {
        SCOPED_TRACE (control.name + " " + control.text);
        EXPECT_EQ (control.component->getParentComponent(), page.get());
        EXPECT_TRUE (control.component->isVisible());
        EXPECT_EQ (control.component->getName(), control.name);
        EXPECT_EQ (textOf (*control.component), control.text);
        EXPECT_EQ (tooltipOf (*control.component), control.tooltip);
        EXPECT_EQ (control.component->getBounds(), control.bounds);

        // Made in the order of the table.
        const int index = page->getIndexOfChildComponent (control.component);
        EXPECT_GT (index, lastIndex);
        lastIndex = index;
    }
}

TEST_F (TrackPageTest, theSlidersAndTheTransportStartAsDesigned)
{
    for (auto* slider : { &page->denoiserSlider, &page->declickerSlider })
    {
        EXPECT_EQ (slider->getTextBoxPosition(), juce::Slider::NoTextBox);
        EXPECT_EQ (slider->getMinimum(), 0.0);
        EXPECT_EQ (slider->getMaximum(), 100.0);
        EXPECT_EQ (slider->getInterval(), 0.01);
        EXPECT_EQ (slider->getValue(), 0.0);
        EXPECT_TRUE (slider->isEnabled());
    }

    EXPECT_EQ (page->positionSlider.getTextBoxPosition(), juce::Slider::NoTextBox);
    EXPECT_EQ (page->positionSlider.getMinimum(), 0.0);
    EXPECT_EQ (page->positionSlider.getMaximum(), 200.0);
    EXPECT_EQ (page->positionSlider.getInterval(), 0.0);
    EXPECT_EQ (page->positionSlider.getValue(), 0.0);
    EXPECT_FALSE (page->positionSlider.isEnabled());
    EXPECT_FALSE (page->stopButton.isEnabled());
    EXPECT_FALSE (page->splitButton.isEnabled());
    EXPECT_TRUE (page->playButton.isEnabled());
    EXPECT_EQ (page->getPausePosition(), -1.0);
    EXPECT_EQ (page->getPlayingRow(), -1);
    EXPECT_EQ (page->getReaderRate(), 44100.0);
    EXPECT_EQ (page->getReader(), nullptr);
    for (auto* toggle :
         { &page->denoiserToggle, &page->declickerToggle, &page->normalizerToggle, &page->resampleToggle })
        EXPECT_FALSE (toggle->getToggleState());
}

TEST_F (TrackPageTest, newCaptureShowsOnlyOutsideAnEncodeProjectAndAddSaysWhatItDoes)
{
    EXPECT_TRUE (page->newCaptureButton.isVisible());
    EXPECT_EQ (page->addButton.getTooltip(), "Capture new tracks to add");

    project->projectType = encodeProject;
    page->updateButtonVisibility();
    EXPECT_FALSE (page->newCaptureButton.isVisible());
    EXPECT_EQ (page->addButton.getTooltip(), "Browse for files to convert");

    project->projectType = ripProject;
    page->updateButtonVisibility();
    EXPECT_TRUE (page->newCaptureButton.isVisible());
}

TEST_F (TrackPageTest, theButtonsFaceFollowsTheTicksAtTheEndOfEachClick)
{
    for (auto* toggle :
         { &page->denoiserToggle, &page->declickerToggle, &page->resampleToggle, &page->normalizerToggle })
    {
        setToggle (*toggle, true);
        EXPECT_EQ (page->playButton.getButtonText(), "Preview");
        EXPECT_EQ (page->playButton.getTooltip(),
                   "Click here to preview the current track with the selected effect(s) applied");
        EXPECT_FALSE (page->isPlainPlay());

        setToggle (*toggle, false);
        EXPECT_EQ (page->playButton.getButtonText(), "Play");
        EXPECT_EQ (page->playButton.getTooltip(), "Click here to play the current track");
        EXPECT_TRUE (page->isPlainPlay());
    }
}

//==============================================================================
TEST_F (TwoTracks, aPreviewPlaysTheTickedEffectsFromATemporaryCopyNamedAfterTheRow)
{
    const auto before = bytesOf (files[1]);
    const auto expected = filtered (files[1], -1, -1, true);

    clickRow (page->trackList, 1);
    setToggle (page->normalizerToggle, true);
    press (page->playButton);

    const auto preview = page->getPreviewFile();
    EXPECT_TRUE (preview.existsAsFile());
    EXPECT_TRUE (preview.getFileName().endsWith ("2.wav")) << preview.getFileName();
    EXPECT_EQ (preview.getParentDirectory(), juce::File::getSpecialLocation (juce::File::tempDirectory));
    EXPECT_EQ (page->getSourceFile(), files[1]);
    const auto previewed = WavFiles::read (preview);
    EXPECT_EQ (previewed.channels, expected.channels);
    EXPECT_EQ (bytesOf (files[1]), before) << "the track itself is untouched";

    ASSERT_NE (page->getReader(), nullptr);
    EXPECT_TRUE (page->getReader()->isPlaying());
    EXPECT_EQ (project->audioReader, page->getReader());
    EXPECT_EQ (page->getPlayingRow(), 1);
    EXPECT_FALSE (page->isPlainPlay());
    EXPECT_TRUE (page->positionSlider.isEnabled());
    EXPECT_EQ (page->positionSlider.getMaximum(), (double) previewed.frames());
    EXPECT_EQ (page->positionSlider.getInterval(), 1.0);
    EXPECT_EQ (page->positionSlider.getTimeText(), "0.00 / 0.90");

    const auto output = device->runBlocks (4);
    expectOutput (output, 0, previewed, 0, 2048);

    tick();
    const auto position = page->getReader()->getPosition();
    EXPECT_GE (position, 2048);
    EXPECT_EQ (page->positionSlider.getValue(), (double) position);
    EXPECT_EQ (page->positionSlider.getTimeText(), "0.04 / 0.90");
    EXPECT_EQ (page->positionSlider.getTimeLabel().getBounds(), juce::Rectangle<int> (215, 212, 200, 20))
        << "the time stays over the bar whatever it reads";
    EXPECT_EQ (page->playButton.getButtonText(), "Pause");
    EXPECT_TRUE (page->stopButton.isEnabled());
    EXPECT_TRUE (page->splitButton.isEnabled());

    // A second preview of the same row with the same ticks reuses the copy.
    pressWhileRunning (page->stopButton);
    EXPECT_EQ (page->getReader(), nullptr);
    WavFiles::write (preview, song (5000, 7));
    press (page->playButton);
    EXPECT_EQ (page->getPreviewFile(), preview);
    EXPECT_EQ (WavFiles::read (preview).channels, song (5000, 7).channels);
}

TEST_F (TwoTracks, playWithNothingTickedPlaysTheTracksOwnFileWithoutACopy)
{
    clickRow (page->trackList, 0);
    press (page->playButton);

    EXPECT_EQ (page->getPreviewFile(), juce::File());
    EXPECT_EQ (page->getSourceFile(), juce::File());
    ASSERT_NE (page->getReader(), nullptr);
    EXPECT_TRUE (page->isPlainPlay());
    EXPECT_EQ (page->getReaderRate(), 44100.0);
    EXPECT_EQ (page->positionSlider.getMaximum(), 30000.0);

    const auto output = device->runBlocks (6);
    expectOutput (output, 0, audio[0], 0, 3072);

    tick();
    EXPECT_EQ (page->playButton.getButtonText(), "Pause");
}

TEST_F (TwoTracks, playWithNoRowClickedPlaysNothing)
{
    press (page->playButton);

    EXPECT_EQ (page->getReader(), nullptr);
    EXPECT_EQ (project->audioReader, nullptr);
    EXPECT_EQ (AudioReader::instanceCount(), 0);
    EXPECT_FALSE (page->stopButton.isEnabled());
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (TwoTracks, aTrackFileDeletedBehindTheProgramsBackPlaysNothingAndSaysNothing)
{
    ASSERT_TRUE (files[0].deleteFile());
    clickRow (page->trackList, 0);
    press (page->playButton);
    EXPECT_EQ (page->getReader(), nullptr);

    // Its preview has nothing to copy.
    setToggle (page->normalizerToggle, true);
    press (page->playButton);
    EXPECT_EQ (page->getReader(), nullptr);
    EXPECT_FALSE (page->getPreviewFile().exists());

    EXPECT_TRUE (dialogs.alerts().empty());
    EXPECT_EQ (trackPaths (*project), pathsOf ({ files[0], files[1] }));
    EXPECT_EQ (WavFiles::read (files[1]).channels, audio[1].channels);
}

TEST_F (TrackPageTest, aFileThatIsNoAudioPlaysNothingAndItsPreviewTellsTheFiltersError)
{
    const auto broken = makeFile (folder, "broken.wav", "these are words, not sound");
    project->addTrackFile (broken.getFullPathName());
    showTracks();
    ASSERT_EQ (project->trackCount(), 1);

    clickRow (page->trackList, 0);
    press (page->playButton);
    ASSERT_NE (page->getReader(), nullptr);
    EXPECT_FALSE (page->getReader()->isPlaying());
    EXPECT_TRUE (isSilentOutput (device->runBlocks (2)));

    tick();
    EXPECT_EQ (page->getReader(), nullptr);
    EXPECT_EQ (AudioReader::instanceCount(), 0);
    EXPECT_EQ (page->positionSlider.getTimeText(), "");

    setToggle (page->normalizerToggle, true);
    press (page->playButton);
    ASSERT_EQ (dialogs.alerts().size(), 1u);
    EXPECT_EQ (dialogs.alerts()[0].title, "Groove Smith : Error");
    EXPECT_EQ (dialogs.alerts()[0].message, "Error while opening input file");
    EXPECT_EQ (broken.loadFileAsString(), "these are words, not sound");
}

//==============================================================================
TEST_F (TwoTracks, previewThenApplyOnTheSameRowCopiesThePreviewWithoutFilteringAgain)
{
    clickRow (page->trackList, 0);
    setToggle (page->declickerToggle, true);
    press (page->playButton);
    const auto preview = page->getPreviewFile();
    ASSERT_TRUE (preview.existsAsFile());

    // Whatever the preview holds is what Apply puts in place: nothing is computed again.
    const auto marker = song (7777, 9);
    WavFiles::write (preview, marker);
    pressWhileRunning (page->applyButton);

    EXPECT_EQ (WavFiles::read (files[0]).channels, marker.channels);
    EXPECT_FALSE (preview.exists());
    EXPECT_EQ (WavFiles::read (files[1]).channels, audio[1].channels);
    EXPECT_FALSE (page->declickerToggle.getToggleState());
    EXPECT_EQ (page->playButton.getButtonText(), "Play");
    EXPECT_EQ (page->getReader(), nullptr);
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (TrackPageTest, applyOnSeveralNonWavRowsOfAnEncodeProjectTreatsEachTrackOnce)
{
    project->projectType = encodeProject;
    page->updateButtonVisibility();
    const juce::StringArray names{ "A", "B", "C" };
    juce::File flacs[3], wavs[3];
    int decoded[3];
    for (int i = 0; i < 3; ++i)
    {
        flacs[i] = addEncoded (names[i] + ".flac", 20000 + 5000 * i, (juce::uint32) i + 1);
        wavs[i] = folder.getChildFile (names[i] + ".wav");
        decoded[i] = (int) audiofiles::readAudio (flacs[i]).length;
    }
    showTracks();

    clickRow (page->trackList, 0);
    clickRow (page->trackList, 2,
              juce::ModifierKeys (juce::ModifierKeys::leftButtonModifier | juce::ModifierKeys::shiftModifier));
    ASSERT_EQ (page->trackList.getNumSelectedRows(), 3);
    for (const auto& wav : wavs)
        dialogs.chooseNext (wav);
    setToggle (page->resampleToggle, true);
    press (page->applyButton);

    // Each track is asked about once, in the list's order, and slowed once.
    const auto choosers = dialogs.choosers();
    ASSERT_EQ (choosers.size(), 3u);
    for (int i = 0; i < 3; ++i)
    {
        SCOPED_TRACE (names[i]);
        EXPECT_EQ (choosers[(size_t) i].request.initial, wavs[i]);
        EXPECT_TRUE (flacs[i].existsAsFile()) << "the user's file stays";
        int slowed = 0;
        while (slowed * 0.74 < decoded[i])
            slowed += 960;
        EXPECT_EQ (framesOf (wavs[i]), slowed);
    }
    EXPECT_EQ (trackPaths (*project), pathsOf ({ wavs[0], wavs[1], wavs[2] }));
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (TwoTracks, applyWithAnotherSettingRecomputesTheRowFromItsFile)
{
    const auto expected = filtered (files[0], -1, 40, true);

    clickRow (page->trackList, 0);
    setToggle (page->normalizerToggle, true);
    press (page->playButton);
    WavFiles::write (page->getPreviewFile(), song (7777, 9));

    page->declickerSlider.setValue (40.75);
    setToggle (page->declickerToggle, true);
    pressWhileRunning (page->applyButton);

    EXPECT_EQ (WavFiles::read (files[0]).channels, expected.channels);
    EXPECT_FALSE (page->getPreviewFile().exists());
    EXPECT_EQ (WavFiles::read (files[1]).channels, audio[1].channels);
}

TEST_F (TwoTracks, applyActsOnTheRowChosenWithTheArrowKeysAfterAPreviewOfAnother)
{
    const auto expected = filtered (files[1], -1, -1, true);
    const auto first = bytesOf (files[0]);

    clickRow (page->trackList, 0);
    setToggle (page->normalizerToggle, true);
    press (page->playButton);
    ASSERT_EQ (page->getSourceFile(), files[0]);

    ASSERT_TRUE (pressKey (page->trackList, juce::KeyPress (juce::KeyPress::downKey)));
    ASSERT_TRUE (page->trackList.isRowSelected (1));
    EXPECT_EQ (page->trackList.getCurrentRow(), 1);
    pressWhileRunning (page->applyButton);

    EXPECT_EQ (WavFiles::read (files[1]).channels, expected.channels);
    EXPECT_EQ (bytesOf (files[0]), first) << "the row previewed before is not the one acted on";
}

TEST_F (TrackPageTest, applyOnSeveralRowsRecomputesEachRowFromItsOwnFile)
{
    juce::File files[3];
    WavFiles::Audio expected[3];
    for (int i = 0; i < 3; ++i)
    {
        files[i] = addWav ("Track" + juce::String (i + 1) + ".wav", song (20000 + 3000 * i, i + 1));
        expected[i] = filtered (files[i], 0, -1, false);
    }
    showTracks();
    const auto middle = bytesOf (files[1]);

    clickRow (page->trackList, 0);
    page->trackList.selectRow (2, false, false);
    ASSERT_EQ (page->trackList.getNumSelectedRows(), 2);
    setToggle (page->denoiserToggle, true);
    press (page->applyButton);

    EXPECT_EQ (WavFiles::read (files[0]).channels, expected[0].channels);
    EXPECT_EQ (WavFiles::read (files[2]).channels, expected[2].channels);
    EXPECT_EQ (bytesOf (files[1]), middle);
    EXPECT_EQ (project->trackCount(), 3);
    EXPECT_FALSE (page->getPreviewFile().exists());
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (TwoTracks, applyWithNothingTickedAfterAPreviewOfAnotherRowMovesTheRowOntoTheStaleSource)
{
    clickRow (page->trackList, 0);
    setToggle (page->normalizerToggle, true);
    press (page->playButton);
    ASSERT_EQ (page->getSourceFile(), files[0]);

    setToggle (page->normalizerToggle, false);
    clickRow (page->trackList, 1);
    pressWhileRunning (page->applyButton);

    // Row 2's own file is the result, and the stale source from row 1 is where it goes.
    EXPECT_EQ (WavFiles::read (files[0]).channels, audio[1].channels);
    EXPECT_FALSE (files[1].exists());
    EXPECT_EQ (trackPaths (*project), pathsOf ({ files[0], files[1] }));
}

TEST_F (TwoTracks, applyWithNothingTickedAndNoEarlierPreviewChangesNothing)
{
    const auto first = bytesOf (files[0]);
    const auto second = bytesOf (files[1]);

    clickRow (page->trackList, 1);
    press (page->applyButton);

    EXPECT_EQ (bytesOf (files[0]), first);
    EXPECT_EQ (bytesOf (files[1]), second);
    EXPECT_EQ (folder.findChildFiles (juce::File::findFiles, false).size(), 2);
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (TwoTracks, afterApplyWithTheNormalizerTheButtonReadsPreviewThoughNothingIsTicked)
{
    const auto expected = filtered (files[0], -1, -1, true);
    clickRow (page->trackList, 0);
    setToggle (page->normalizerToggle, true);
    press (page->applyButton);

    EXPECT_EQ (WavFiles::read (files[0]).channels, expected.channels);
    EXPECT_FALSE (page->normalizerToggle.getToggleState());
    EXPECT_EQ (page->playButton.getButtonText(), "Preview");
    EXPECT_FALSE (page->isPlainPlay());

    // The next click puts the face right.
    press (page->applyButton);
    EXPECT_EQ (page->playButton.getButtonText(), "Play");
}

TEST_F (TwoTracks, theDenoiserAtItsFirstSettingDelaysTheTrackBy896AndRemovesNothing)
{
    const auto normalizedOnly = filtered (files[1], -1, -1, true);

    clickRow (page->trackList, 1);
    setToggle (page->denoiserToggle, true);
    ASSERT_EQ (page->denoiserSlider.getValue(), 0.0);
    press (page->playButton);

    const auto preview = WavFiles::read (page->getPreviewFile());
    ASSERT_EQ (preview.frames(), 40000 / 256 * 256);
    for (size_t c = 0; c < 2; ++c)
        for (int i = 0; i < 896; ++i)
            ASSERT_EQ (preview.channels[c][(size_t) i], 0) << "frame " << i;
    expectSamples (preview, 896, normalizedOnly, 0, preview.frames() - 896);
}

TEST_F (TwoTracks, theSpeedCorrectionSlowsThePreviewDownBy074)
{
    clickRow (page->trackList, 1);
    setToggle (page->resampleToggle, true);
    press (page->playButton);

    const auto preview = WavFiles::read (page->getPreviewFile());
    EXPECT_EQ (preview.rate, 44100.0);
    EXPECT_EQ (preview.bits, 16);
    // Whole blocks of 960 until 0.74 of them cover the track.
    int expectedFrames = 0;
    while (expectedFrames * 0.74 < 40000.0)
        expectedFrames += 960;
    EXPECT_EQ (preview.frames(), expectedFrames);

    // The pitch falls by the same factor.
    const double original = WavFiles::signChanges (audio[1].channels[0], 1000, 30000);
    const double slowed = WavFiles::signChanges (preview.channels[0], 1000, 30000);
    EXPECT_NEAR (slowed / original, 0.74, 0.01);
    EXPECT_EQ (WavFiles::read (files[1]).channels, audio[1].channels);
}

TEST_F (TwoTracks, afterTheLastRowIsDeletedPreviewAndApplyDoNothing)
{
    project->setOutputFormat (formatFlac);
    const auto first = bytesOf (files[0]);
    clickRow (page->trackList, 1);
    page->trackList.showMenu = [] (juce::PopupMenu&) { return (int) TrackList::deleteTrackEntry; };
    dialogs.answer ("OK");
    clickRow (page->trackList, 1, rightButton);
    ASSERT_EQ (trackPaths (*project), pathsOf ({ files[0] }));
    const auto alertsBefore = dialogs.alerts().size();

    setToggle (page->normalizerToggle, true);
    press (page->playButton);
    EXPECT_EQ (page->getReader(), nullptr);
    press (page->applyButton);

    EXPECT_TRUE (dialogs.choosers().empty()) << "no question about a file that is not there";
    EXPECT_EQ (dialogs.alerts().size(), alertsBefore);
    EXPECT_EQ (project->outputFormat, formatFlac);
    EXPECT_EQ (bytesOf (files[0]), first);
    EXPECT_EQ (trackPaths (*project), pathsOf ({ files[0] }));
}

TEST_F (TwoTracks, afterTheLastRowIsRemovedPreviewAndApplyDoNothing)
{
    project->setOutputFormat (formatFlac);
    const auto first = bytesOf (files[0]);
    const auto second = bytesOf (files[1]);
    clickRow (page->trackList, 1);
    page->trackList.showMenu = [] (juce::PopupMenu&) { return (int) TrackList::removeTrackEntry; };
    dialogs.answer ("OK");
    clickRow (page->trackList, 1, rightButton);
    ASSERT_EQ (trackPaths (*project), pathsOf ({ files[0] }));
    const auto alertsBefore = dialogs.alerts().size();

    setToggle (page->resampleToggle, true);
    press (page->playButton);
    EXPECT_EQ (page->getReader(), nullptr);
    press (page->applyButton);

    EXPECT_TRUE (dialogs.choosers().empty());
    EXPECT_EQ (dialogs.alerts().size(), alertsBefore);
    EXPECT_EQ (project->outputFormat, formatFlac);
    EXPECT_EQ (bytesOf (files[0]), first);
    EXPECT_EQ (bytesOf (files[1]), second);
}

TEST_F (TwoTracks, aRowPastTheEndOfTheListHasNoFileToPrepare)
{
    project->setOutputFormat (formatFlac);
    setToggle (page->normalizerToggle, true);
    EXPECT_EQ (page->prepareTrackFile (2, -1, -1, true), juce::File());
    EXPECT_EQ (page->prepareTrackFile (-1, -1, -1, true), juce::File());
    EXPECT_TRUE (dialogs.choosers().empty());
    EXPECT_TRUE (dialogs.alerts().empty());
    EXPECT_EQ (project->outputFormat, formatFlac);
}

//==============================================================================
TEST_F (TrackPageTest, anOggTrackBecomesAWavFileWhereTheUserSaysBeforeItsPreview)
{
    const auto first = addWav ("Track1.wav", song (10000));
    const auto ogg = addEncoded ("Live.ogg", 30000);
    showTracks();
    const auto wav = folder.getChildFile ("Live.wav");
    project->setOutputFormat (formatFlac);

    dialogs.chooseNext (wav);
    clickRow (page->trackList, 1);
    setToggle (page->normalizerToggle, true);
    press (page->playButton);

    ASSERT_EQ (dialogs.choosers().size(), 1u);
    const auto question = dialogs.choosers()[0].request;
    EXPECT_EQ (question.mode, FileRequest::Mode::saveFile);
    EXPECT_EQ (question.title, "Save elsewhere");
    EXPECT_EQ (question.initial, wav);
    EXPECT_TRUE (question.warnAboutOverwriting);

    // The WAV file takes the Ogg track's place at the end of the list, and is a temporary.
    EXPECT_EQ (trackPaths (*project), pathsOf ({ first, wav }));
    EXPECT_EQ (project->trackFormat (1), formatWav);
    EXPECT_EQ (project->temporaryFileList(), std::vector<juce::String>{ wav.getFullPathName() });
    EXPECT_EQ (project->outputFormat, formatWav);
    EXPECT_FALSE (project->intermediateConversion);
    EXPECT_TRUE (ogg.existsAsFile());

    const auto decoded = audiofiles::readAudio (ogg);
    EXPECT_EQ (WavFiles::read (wav).frames(), (int) decoded.length);
    EXPECT_EQ (page->getSourceFile(), wav);
    EXPECT_EQ (WavFiles::read (page->getPreviewFile()).channels, filtered (wav, -1, -1, true).channels);
    EXPECT_NE (page->getReader(), nullptr);
}

TEST_F (TrackPageTest, cancellingTheWavQuestionOfAFlacTrackPlaysNothingAndAsksAgainNextTime)
{
    const auto flac = addEncoded ("Studio.flac", 30000);
    showTracks();
    const auto before = bytesOf (flac);

    dialogs.chooseNext ({});
    clickRow (page->trackList, 0);
    setToggle (page->declickerToggle, true);
    press (page->playButton);

    EXPECT_EQ (page->getReader(), nullptr);
    EXPECT_EQ (page->getSourceFile(), juce::File());
    EXPECT_FALSE (page->getPreviewFile().exists());
    EXPECT_EQ (trackPaths (*project), pathsOf ({ flac }));
    EXPECT_EQ (bytesOf (flac), before);

    dialogs.chooseNext ({});
    press (page->playButton);
    EXPECT_EQ (dialogs.choosers().size(), 2u);
    EXPECT_TRUE (dialogs.alerts().empty());
}

//==============================================================================
TEST_F (TrackPageTest, addATrackInAnEncodeProjectTakesTheChosenAudioFilesAndIgnoresTheRest)
{
    project->projectType = encodeProject;
    page->updateButtonVisibility();
    const auto wav = folder.getChildFile ("b.wav");
    WavFiles::write (wav, song (1000));
    const auto flac = folder.getChildFile ("a.flac");
    audiofiles::writeAudio (flac, 44100.0, 16, audiofiles::makeSignal (2, 1000, 16));
    const auto notes = makeFile (folder, "notes.txt", "liner notes");

    dialogs.chooseNextFiles ({ wav, notes, flac });
    press (page->addButton);

    ASSERT_EQ (dialogs.choosers().size(), 1u);
    const auto chooser = dialogs.choosers()[0];
    EXPECT_TRUE (chooser.severalFiles);
    EXPECT_EQ (chooser.request.title, "Choose some audio files to convert...");
    EXPECT_EQ (chooser.request.filter, "*.wav;*.mp3;*.ogg;*.flac;*.aiff;*.aif;*.m4a");
    EXPECT_EQ (chooser.request.initial, juce::File());

    EXPECT_EQ (trackPaths (*project), pathsOf ({ wav, flac }));
    EXPECT_EQ (project->trackFormat (1), formatFlac);
    EXPECT_EQ (page->trackList.getViewport()->getViewedComponent()->getHeight(), 2 * page->trackList.getRowHeight());
    EXPECT_TRUE (dialogs.alerts().empty());
    EXPECT_EQ (notes.loadFileAsString(), "liner notes");

    // A cancelled chooser adds nothing.
    press (page->addButton);
    EXPECT_EQ (project->trackCount(), 2);
    EXPECT_EQ (dialogs.choosers().size(), 2u);
}

TEST_F (TwoTracks, thePreviewFileGoesWithThePage)
{
    clickRow (page->trackList, 0);
    setToggle (page->normalizerToggle, true);
    press (page->playButton);
    const auto preview = page->getPreviewFile();
    ASSERT_TRUE (preview.existsAsFile());
    ASSERT_EQ (AudioReader::instanceCount(), 1);

    {
        auto blocks = device->runBlocksInBackground();
        page.reset();
    }

    EXPECT_FALSE (preview.exists());
    EXPECT_EQ (AudioReader::instanceCount(), 0);
    EXPECT_EQ (project->audioReader, nullptr);
    EXPECT_TRUE (files[0].existsAsFile());
}
