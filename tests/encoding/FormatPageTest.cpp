// The format page: its controls, the descriptions, the LAME options and their two quality
// lists, the library chooser, and every choice written through to the settings file.
#include "EncodingPagesFixture.h"
#include "PageImageSupport.h"
#include "app/TextFit.h"
#include "encoding/Page3.h"
#include "support/Snapshots.h"

namespace
{
using Items = std::vector<std::pair<int, juce::String>>;

Items itemsOf (const juce::ComboBox& combo)
{
    Items items;
    for (int i = 0; i < combo.getNumItems(); ++i)
        items.emplace_back (combo.getItemId (i), combo.getItemText (i));
    return items;
}

const Items vbrList{ { 10, "0 - best quality" },
                     { 1, "1" },
                     { 2, "2 - recommended" },
                     { 3, "3" },
                     { 4, "4" },
                     { 5, "5" },
                     { 6, "6" },
                     { 7, "7" },
                     { 8, "8" },
                     { 9, "9 - smaller file" } };

const Items cbrList{ { 320, "320kbps - best quality" }, { 256, "256kbps" }, { 224, "224kbps" },
                     { 192, "192kbps - recommended" },  { 160, "160kbps" }, { 128, "128kbps - cd quality" } };
} // namespace

class FormatPageTest : public EncodingPagesTest
{
protected:
    Page3& page() { return *wizard->page3; }

    /** The user picks a format in the combo. */
    void choose (int format)
    {
        page().formatCombo.setSelectedId (format, juce::sendNotificationSync);
        runMessageLoopFor (5);
    }

    bool parametersShown()
    {
        const bool shown = page().parametersGroup.isVisible();
        EXPECT_EQ (page().vbrToggle.isVisible(), shown);
        EXPECT_EQ (page().qualityLabel.isVisible(), shown);
        EXPECT_EQ (page().qualityCombo.isVisible(), shown);
        return shown;
    }

    /** A settings file naming a library that is not there. */
    void restartWithNoLibrary (std::map<juce::String, juce::String> values = {})
    {
        values["lame"] = testHome().getChildFile ("nowhere/libmp3lame.so.0").getFullPathName();
        restartWith (values);
    }
};

TEST_F (FormatPageTest, thePageShowsItsControlsWithTheirTextsNamesAndPlaces)
{
    auto& p = page();
    EXPECT_EQ (p.getName(), "Page3");

    EXPECT_EQ (p.questionLabel.getName(), "convert");
    EXPECT_EQ (p.questionLabel.getText(), "Which format would you like to save your tracks in?");
    EXPECT_EQ (p.formatCombo.getName(), "Format");
    EXPECT_EQ (p.descriptionLabel.getName(), "format_desc");
    EXPECT_EQ (p.keepToggle.getName(), "");
    EXPECT_EQ (p.keepToggle.getButtonText(), "Keep Original wave files");
    EXPECT_EQ (p.keepToggle.getTooltip(), "Keep Original wave files");
    EXPECT_EQ (p.numbersToggle.getName(), "");
    EXPECT_EQ (p.numbersToggle.getButtonText(), "Prepend Track Numbers");
    EXPECT_EQ (p.numbersToggle.getTooltip(), "Track numbers will be added to filenames");
    EXPECT_EQ (p.parametersGroup.getName(), "encode_params");
    EXPECT_EQ (p.parametersGroup.getText(), "Encoding parameters");
    EXPECT_EQ (p.vbrToggle.getName(), "");
    EXPECT_EQ (p.vbrToggle.getButtonText(), "VBR (recommended)");
    EXPECT_EQ (p.qualityLabel.getName(), "quality");
    EXPECT_EQ (p.qualityLabel.getText(), "Quality :");
    EXPECT_EQ (p.qualityCombo.getName(), "quality");

    EXPECT_EQ (p.questionLabel.getBounds(), juce::Rectangle<int> (60, 50, 320, 50));
    EXPECT_EQ (p.formatCombo.getBounds(), juce::Rectangle<int> (120, 95, 180, 25));
    EXPECT_EQ (p.descriptionLabel.getBounds(), juce::Rectangle<int> (80, 120, 300, 50));
    EXPECT_EQ (p.keepToggle.getBounds(), juce::Rectangle<int> (15, 310, 180, 25));
    EXPECT_EQ (p.numbersToggle.getBounds(), juce::Rectangle<int> (250, 310, 180, 25));
    EXPECT_EQ (p.parametersGroup.getBounds(), juce::Rectangle<int> (80, 180, 270, 130));
    EXPECT_EQ (p.vbrToggle.getBounds(), juce::Rectangle<int> (105, 200, 220, 25));
    EXPECT_EQ (p.qualityLabel.getBounds(), juce::Rectangle<int> (105, 230, 220, 25));
    EXPECT_EQ (p.qualityCombo.getBounds(), juce::Rectangle<int> (100, 260, 220, 30));

    // The LAME options sit on the page, framed by the group, not inside it.
    for (juce::Component* c : { (juce::Component*) &p.vbrToggle, (juce::Component*) &p.qualityLabel,
                                (juce::Component*) &p.qualityCombo, (juce::Component*) &p.parametersGroup })
        EXPECT_EQ (c->getParentComponent(), &p);
}

TEST_F (FormatPageTest, theFormatsAreListedInTheUsersOrderWithTheirNumbers)
{
    const Items expected{ { 1, "wav" },
                          { 8, "mp3 (lame)" },
                          { 7, "mp3 (iTunes)" },
                          { 2, "AAC (iTunes)" },
                          { 3, "Apple Lossless (iTunes)" },
                          { 5, "ogg" },
                          { 6, "flac" },
                          { 4, "aiff" } };
    EXPECT_EQ (itemsOf (page().formatCombo), expected);
}

TEST_F (FormatPageTest, aFirstStartShowsWavWithTheDefaultOptions)
{
    auto& p = page();
    EXPECT_EQ (p.formatCombo.getSelectedId(), formatWav);
    EXPECT_EQ (p.descriptionLabel.getText(), "Leave tracks in wav format");
    EXPECT_FALSE (parametersShown());
    EXPECT_FALSE (p.keepToggle.getToggleState());
    EXPECT_TRUE (p.numbersToggle.getToggleState());
    EXPECT_TRUE (p.vbrToggle.getToggleState());
    EXPECT_EQ (itemsOf (p.qualityCombo), vbrList);
    EXPECT_EQ (p.qualityCombo.getText(), "2 - recommended");
    EXPECT_EQ (onDisk ("outputformat"), "1");
    EXPECT_EQ (onDisk ("lame_vbr"), "1");
    EXPECT_EQ (onDisk ("lame_quality"), "2");
}

TEST_F (FormatPageTest, eachFormatShowsItsDescriptionAndIsSavedAtOnce)
{
    const std::vector<std::pair<int, juce::String>> descriptions{
        { 1, "Leave tracks in wav format" },
        { 2, "Convert to AAC using iTunes" },
        { 3, "Convert to Apple Lossless using iTunes" },
        { 4, "Convert to AIFF format" },
        { 5, "Convert to OGG format" },
        { 6, "Convert to FLAC format" },
        { 7, "Convert to MP3 using iTunes" },
        { 8, "Convert to MP3 using Lame (you need to specify where the lame executable is)" },
    };

    for (const auto& [format, description] : descriptions)
    {
        SCOPED_TRACE (format);
        choose (format);
        EXPECT_EQ (page().descriptionLabel.getText(), description);
        EXPECT_EQ (project().outputFormat, format);
        EXPECT_EQ (onDisk ("outputformat"), juce::String (format));
        EXPECT_EQ (parametersShown(), format == formatMp3Lame);
    }
}

TEST_F (FormatPageTest, anyFormatButLameHidesTheWholeParametersGroup)
{
    choose (formatMp3Lame);
    ASSERT_TRUE (parametersShown());

    for (int format : { 1, 7, 2, 3, 5, 6, 4 })
    {
        SCOPED_TRACE (format);
        choose (formatMp3Lame);
        EXPECT_TRUE (parametersShown());
        choose (format);
        EXPECT_FALSE (parametersShown());
    }
}

TEST_F (FormatPageTest, lameWithTheLibraryFoundOpensNoDialog)
{
    // With no setting the program's default library is the system's copy: a normal install.
    ASSERT_TRUE (project().lameLibrary.existsAsFile()) << project().lameLibrary.getFullPathName();
    EXPECT_TRUE (page().lameLocated);

    choose (formatMp3Lame);
    EXPECT_TRUE (dialogs.choosers().empty());
    EXPECT_TRUE (dialogs.alerts().empty());
    EXPECT_TRUE (parametersShown());
    EXPECT_EQ (onDisk ("outputformat"), "8");
}

TEST_F (FormatPageTest, aLibraryNamedInTheSettingsThatExistsOpensNoDialog)
{
    const auto library = makeFile (audiofiles::freshFolder ("lame"), "libmp3lame.so.0");
    restartWith ({ { "lame", library.getFullPathName() } });
    ASSERT_EQ (project().lameLibrary, library);

    choose (formatMp3Lame);
    EXPECT_TRUE (dialogs.choosers().empty());
    EXPECT_TRUE (parametersShown());
}

TEST_F (FormatPageTest, withNoLibraryLameOpensTheChooserAndCancelKeepsTheChoice)
{
    restartWithNoLibrary();
    EXPECT_FALSE (page().lameLocated);

    choose (formatMp3Lame);
    const auto choosers = dialogs.choosers();
    ASSERT_EQ (choosers.size(), 1u);
    const auto& request = choosers[0].request;
    EXPECT_EQ (request.mode, FileRequest::Mode::openFile);
    EXPECT_EQ (request.title, "Choose Lame's location");
    EXPECT_EQ (request.filter, "libmp3lame.so*");
    EXPECT_EQ (request.initial, juce::File::getCurrentWorkingDirectory());
    EXPECT_FALSE (choosers[0].confirmed);

    // Cancel: MP3 stays chosen and its options show; the failure, if any, comes at the encode.
    EXPECT_EQ (page().formatCombo.getSelectedId(), formatMp3Lame);
    EXPECT_EQ (project().outputFormat, formatMp3Lame);
    EXPECT_EQ (onDisk ("outputformat"), "8");
    EXPECT_TRUE (parametersShown());
    EXPECT_FALSE (page().lameLocated);
    EXPECT_TRUE (dialogs.alerts().empty());

    // Still no library: the next choice of MP3 asks again.
    choose (formatFlac);
    choose (formatMp3Lame);
    EXPECT_EQ (dialogs.choosers().size(), 2u);
}

TEST_F (FormatPageTest, aChosenLibraryIsSavedAndNotAskedForAgain)
{
    restartWithNoLibrary();
    const auto library = makeFile (audiofiles::freshFolder ("lame"), "libmp3lame.so.0");

    dialogs.chooseNext (library);
    choose (formatMp3Lame);
    ASSERT_EQ (dialogs.choosers().size(), 1u);
    EXPECT_TRUE (page().lameLocated);
    EXPECT_EQ (project().lameLibrary, library);
    EXPECT_EQ (onDisk ("lame"), library.getFullPathName());

    choose (formatOgg);
    choose (formatMp3Lame);
    EXPECT_EQ (dialogs.choosers().size(), 1u);
}

TEST_F (FormatPageTest, aChosenFileThatIsGoneIsNotSavedButCountsAsLocated)
{
    restartWithNoLibrary();
    const auto gone = testHome().getChildFile ("gone/libmp3lame.so.0");

    dialogs.chooseNext (gone);
    choose (formatMp3Lame);
    EXPECT_TRUE (page().lameLocated);
    EXPECT_EQ (project().lameLibrary, gone);
    EXPECT_NE (onDisk ("lame"), gone.getFullPathName());

    choose (formatWav);
    choose (formatMp3Lame);
    EXPECT_EQ (dialogs.choosers().size(), 1u);
}

TEST_F (FormatPageTest, aSavedLameChoiceWithNoLibraryAsksAsThePageIsBuilt)
{
    restartWithNoLibrary ({ { "outputformat", "8" } });
    ASSERT_EQ (dialogs.choosers().size(), 1u);
    EXPECT_EQ (dialogs.choosers()[0].request.title, "Choose Lame's location");
    EXPECT_EQ (page().formatCombo.getSelectedId(), formatMp3Lame);
    EXPECT_TRUE (parametersShown());
}

TEST_F (FormatPageTest, onlyALibraryNameCountsAsALibrary)
{
    EXPECT_TRUE (Page3::looksLikeLameLibrary ("/usr/lib/libmp3lame.so"));
    EXPECT_TRUE (Page3::looksLikeLameLibrary ("/usr/lib/libmp3lame.so.0"));
    EXPECT_TRUE (Page3::looksLikeLameLibrary ("/usr/lib/libmp3lame.so.0.0.0"));
    EXPECT_TRUE (Page3::looksLikeLameLibrary ("/opt/LAME/LIBMP3LAME.SO.12"));
    EXPECT_FALSE (Page3::looksLikeLameLibrary ("/usr/lib/libmp3lame.a"));
    EXPECT_FALSE (Page3::looksLikeLameLibrary ("/usr/lib/libmp3lame.so.x"));
    EXPECT_FALSE (Page3::looksLikeLameLibrary ("/usr/lib/libmp3lame.so."));
    EXPECT_FALSE (Page3::looksLikeLameLibrary ("/usr/lib/libmp3lame.so.0."));
    EXPECT_FALSE (Page3::looksLikeLameLibrary ("/usr/lib/lame_enc.dll"));
    EXPECT_FALSE (Page3::looksLikeLameLibrary ("/home/user/songs.sorted"));
    EXPECT_FALSE (Page3::looksLikeLameLibrary ("/home/user/notes.txt"));
}

TEST_F (FormatPageTest, anExistingFileWithAnotherNameInTheSettingsIsTakenAsTheLibrary)
{
    // Once the file is there the page believes it; a wrong file fails at the encode.
    const auto other = makeFile (audiofiles::freshFolder ("lame"), "encoder.bin");
    restartWith ({ { "lame", other.getFullPathName() } });
    EXPECT_TRUE (page().lameLocated);
    choose (formatMp3Lame);
    EXPECT_TRUE (dialogs.choosers().empty());
}

TEST_F (FormatPageTest, aFormatNumberOfZeroOnDiskShowsWavAndIsCorrected)
{
    restartWith ({ { "outputformat", "0" } });
    EXPECT_EQ (page().descriptionLabel.getText(), "Leave tracks in wav format");
    EXPECT_EQ (project().outputFormat, formatWav);
    EXPECT_EQ (page().formatCombo.getSelectedId(), formatWav);
    EXPECT_FALSE (parametersShown());
    EXPECT_EQ (onDisk ("outputformat"), "1");
}

TEST_F (FormatPageTest, aFormatNumberOfNineOnDiskShowsWavAndIsCorrected)
{
    restartWith ({ { "outputformat", "9" } });
    EXPECT_EQ (page().descriptionLabel.getText(), "Leave tracks in wav format");
    EXPECT_EQ (project().outputFormat, formatWav);
    EXPECT_EQ (page().formatCombo.getSelectedId(), formatWav);
    EXPECT_EQ (onDisk ("outputformat"), "1");
}

TEST_F (FormatPageTest, aSavedFormatIsShownWithItsDescription)
{
    restartWith ({ { "outputformat", "6" } });
    EXPECT_EQ (page().formatCombo.getSelectedId(), formatFlac);
    EXPECT_EQ (page().formatCombo.getText(), "flac");
    EXPECT_EQ (page().descriptionLabel.getText(), "Convert to FLAC format");
    EXPECT_FALSE (parametersShown());
    EXPECT_TRUE (dialogs.choosers().empty());
}

TEST_F (FormatPageTest, theTwoQualityListsFollowTheVbrToggle)
{
    choose (formatMp3Lame);
    auto& p = page();
    EXPECT_EQ (itemsOf (p.qualityCombo), vbrList);

    click (p.vbrToggle);
    EXPECT_FALSE (p.vbrToggle.getToggleState());
    EXPECT_EQ (itemsOf (p.qualityCombo), cbrList);

    click (p.vbrToggle);
    EXPECT_EQ (itemsOf (p.qualityCombo), vbrList);
}

TEST_F (FormatPageTest, vbrOnFrom320SelectsTheRecommendedLevelAndOffSelects192)
{
    restartWith ({ { "lame_vbr", "0" }, { "lame_quality", "320" } });
    auto& p = page();
    choose (formatMp3Lame);
    EXPECT_FALSE (p.vbrToggle.getToggleState());
    EXPECT_EQ (p.qualityCombo.getText(), "320kbps - best quality");
    EXPECT_EQ (p.qualityCombo.getSelectedId(), 320);

    click (p.vbrToggle);
    EXPECT_TRUE (p.vbrToggle.getToggleState());
    EXPECT_EQ (p.qualityCombo.getText(), "2 - recommended");
    EXPECT_TRUE (project().lameVbr);
    EXPECT_EQ (project().lameQuality, 2);
    EXPECT_EQ (onDisk ("lame_vbr"), "1");
    EXPECT_EQ (onDisk ("lame_quality"), "2");

    // A level chosen in VBR does not survive a trip through CBR: both land on the recommendation.
    p.qualityCombo.setSelectedId (7, juce::sendNotificationSync);
    EXPECT_EQ (onDisk ("lame_quality"), "7");

    click (p.vbrToggle);
    EXPECT_EQ (p.qualityCombo.getText(), "192kbps - recommended");
    EXPECT_FALSE (project().lameVbr);
    EXPECT_EQ (project().lameQuality, 192);
    EXPECT_EQ (onDisk ("lame_vbr"), "0");
    EXPECT_EQ (onDisk ("lame_quality"), "192");

    click (p.vbrToggle);
    EXPECT_EQ (p.qualityCombo.getText(), "2 - recommended");
}

TEST_F (FormatPageTest, aSavedBestVbrLevelOpensOnLevelZero)
{
    restartWith ({ { "lame_vbr", "1" }, { "lame_quality", "10" } });
    EXPECT_TRUE (page().vbrToggle.getToggleState());
    EXPECT_EQ (page().qualityCombo.getText(), "0 - best quality");
    EXPECT_EQ (page().qualityCombo.getSelectedId(), 10);
    EXPECT_EQ (project().lameQuality, 10);
}

TEST_F (FormatPageTest, aSavedVbrLevelOfZeroOpensOnLevelZero)
{
    restartWith ({ { "lame_vbr", "1" }, { "lame_quality", "0" } });
    EXPECT_EQ (page().qualityCombo.getText(), "0 - best quality");
    EXPECT_EQ (project().lameQuality, 10);
    EXPECT_EQ (onDisk ("lame_quality"), "10");
}

TEST_F (FormatPageTest, aSavedQualityThatNoListHoldsFallsBackToTheRecommendedEntry)
{
    restartWith ({ { "lame_vbr", "0" }, { "lame_quality", "7" } });
    EXPECT_EQ (page().qualityCombo.getText(), "192kbps - recommended");
    EXPECT_EQ (onDisk ("lame_quality"), "192");

    restartWith ({ { "lame_vbr", "1" }, { "lame_quality", "320" } });
    EXPECT_EQ (page().qualityCombo.getText(), "2 - recommended");
    EXPECT_EQ (onDisk ("lame_quality"), "2");
}

TEST_F (FormatPageTest, aQualityChoiceIsSavedWithTheMode)
{
    choose (formatMp3Lame);
    auto& p = page();

    p.qualityCombo.setSelectedId (10, juce::sendNotificationSync);
    EXPECT_EQ (project().lameQuality, 10);
    EXPECT_EQ (onDisk ("lame_quality"), "10");
    EXPECT_EQ (onDisk ("lame_vbr"), "1");

    click (p.vbrToggle);
    p.qualityCombo.setSelectedId (128, juce::sendNotificationSync);
    EXPECT_FALSE (project().lameVbr);
    EXPECT_EQ (project().lameQuality, 128);
    EXPECT_EQ (onDisk ("lame_quality"), "128");
    EXPECT_EQ (onDisk ("lame_vbr"), "0");
    EXPECT_EQ (project().lameArguments(), " -b128 ");
}

TEST_F (FormatPageTest, theTwoTogglesStartFromTheSettingsAndWriteThrough)
{
    restartWith ({ { "keep_waves", "1" }, { "add_track_num", "0" } });
    auto& p = page();
    EXPECT_TRUE (p.keepToggle.getToggleState());
    EXPECT_FALSE (p.numbersToggle.getToggleState());

    click (p.keepToggle);
    EXPECT_FALSE (project().keepWaves);
    EXPECT_EQ (onDisk ("keep_waves"), "0");
    click (p.keepToggle);
    EXPECT_TRUE (project().keepWaves);
    EXPECT_EQ (onDisk ("keep_waves"), "1");

    click (p.numbersToggle);
    EXPECT_TRUE (project().addTrackNumbers);
    EXPECT_EQ (onDisk ("add_track_num"), "1");
    click (p.numbersToggle);
    EXPECT_FALSE (project().addTrackNumbers);
    EXPECT_EQ (onDisk ("add_track_num"), "0");
}

TEST_F (FormatPageTest, theChoicesSurviveARestart)
{
    choose (formatMp3Lame);
    click (page().vbrToggle);
    page().qualityCombo.setSelectedId (256, juce::sendNotificationSync);
    click (page().keepToggle);

    // The program ends and starts again on the file it saved.
    wizard.reset();
    wizard = std::make_unique<MainComponent> (&window);
    wizard->setSize (435, 380);

    EXPECT_EQ (page().formatCombo.getText(), "mp3 (lame)");
    EXPECT_FALSE (page().vbrToggle.getToggleState());
    EXPECT_EQ (page().qualityCombo.getText(), "256kbps");
    EXPECT_TRUE (page().keepToggle.getToggleState());
    EXPECT_TRUE (parametersShown());
}

TEST_F (FormatPageTest, thePageKeepsItsControlsWhenTheProjectChangesElsewhere)
{
    choose (formatOgg);
    project().setOutputFormat (formatWav);
    project().setKeepWaves (true);
    EXPECT_EQ (page().formatCombo.getSelectedId(), formatOgg);
    EXPECT_FALSE (page().keepToggle.getToggleState());
}

TEST_F (FormatPageTest, screenshotWithMp3ThroughLameChosen)
{
    using namespace page_image;
    showPage (5);
    choose (formatMp3Lame);
    runMessageLoopFor (20);

    const auto file = saveSnapshot (*wizard, "format-page-mp3-lame");
    EXPECT_TRUE (file.existsAsFile());
    EXPECT_EQ (title(), "Groovesmith -- Page 6 / 7");

    auto shot = windowImage (*wizard);
    ASSERT_NE (page().getBanner(), nullptr);
    EXPECT_TRUE (showsBanner (shot, *page().getBanner()));
    EXPECT_TRUE (showsFootLine (shot));

    // The parameters' frame at (80, 180), 270 by 130: its outline down both sides and along
    // its foot, the page outside it.
    EXPECT_TRUE (filledWith (shot, { 82, 200, 2, 100 }, juce::Colours::grey));
    EXPECT_TRUE (filledWith (shot, { 346, 200, 2, 100 }, juce::Colours::grey));
    EXPECT_TRUE (filledWith (shot, { 100, 306, 230, 2 }, juce::Colours::grey));
    EXPECT_TRUE (filledWith (shot, { 70, 200, 10, 100 }, windowBackground));
    EXPECT_TRUE (filledWith (shot, { 348, 200, 4, 100 }, windowBackground));

    // The two lists, white between their text and their arrow, and the page beside them.
    EXPECT_TRUE (filledWith (shot, { 240, 98, 25, 19 }, juce::Colours::white));
    EXPECT_TRUE (filledWith (shot, { 302, 95, 10, 25 }, windowBackground));
    EXPECT_TRUE (filledWith (shot, { 235, 264, 45, 22 }, juce::Colours::white));
    EXPECT_TRUE (filledWith (shot, { 322, 260, 10, 30 }, windowBackground));
    EXPECT_FALSE (inkColumns (shot, { 120, 95, 120, 25 }).isEmpty());
    EXPECT_FALSE (inkColumns (shot, { 100, 260, 130, 30 }).isEmpty());

    // Any other format takes the whole frame away, and its controls with it.
    choose (formatFlac);
    runMessageLoopFor (20);
    shot = windowImage (*wizard);
    EXPECT_TRUE (filledWith (shot, { 80, 180, 270, 128 }, windowBackground));
    EXPECT_TRUE (filledWith (shot, { 240, 98, 25, 19 }, juce::Colours::white));
    EXPECT_TRUE (showsFootLine (shot));
}

//==============================================================================
TEST_F (FormatPageTest, theAlbumsExtrasHaveThreeTogglesOnByDefault)
{
    auto& p = page();
    EXPECT_EQ (p.coverToggle.getButtonText(), "Cover inside the files");
    EXPECT_EQ (p.coverToggle.getTooltip(),
               "Put the front cover inside each FLAC, Ogg and MP3 file, where players look for it");
    EXPECT_EQ (p.replayGainToggle.getButtonText(), "ReplayGain");
    EXPECT_EQ (p.replayGainToggle.getTooltip(),
               "Write ReplayGain values, so that every track plays at the same loudness");
    EXPECT_EQ (p.playlistToggle.getButtonText(), "Playlist");
    EXPECT_EQ (p.playlistToggle.getTooltip(), "Write a playlist of the album beside its tracks");

    for (auto* toggle : { &p.coverToggle, &p.replayGainToggle, &p.playlistToggle })
    {
        EXPECT_TRUE (toggle->getToggleState()) << toggle->getButtonText();
        EXPECT_EQ (toggle->getParentComponent(), &p);
    }
    EXPECT_TRUE (project().embedCover);
    EXPECT_TRUE (project().replayGain);
    EXPECT_TRUE (project().writePlaylist);
}

TEST_F (FormatPageTest, theExtrasTogglesLieWhereNoOtherControlOfThePageIs)
{
    auto& p = page();
    // Every format: the LAME options show for MP3 only, and must not be covered then either.
    for (const auto format : { formatWav, formatMp3Lame })
    {
        choose (format);
        const juce::Component* others[] = { &p.questionLabel, &p.formatCombo,   &p.descriptionLabel,
                                            &p.keepToggle,    &p.numbersToggle, &p.parametersGroup,
                                            &p.vbrToggle,     &p.qualityLabel,  &p.qualityCombo };

        for (const auto* toggle : { &p.coverToggle, &p.replayGainToggle, &p.playlistToggle })
        {
            SCOPED_TRACE (toggle->getButtonText().toStdString());
            EXPECT_TRUE (toggle->isVisible());
            EXPECT_TRUE (p.getLocalBounds().contains (toggle->getBounds())) << toggle->getBounds().toString();
            for (const auto* other : others)
                EXPECT_FALSE (toggle->getBounds().intersects (other->getBounds()))
                    << toggle->getBounds().toString() << " covers " << other->getBounds().toString();
        }

        EXPECT_FALSE (p.coverToggle.getBounds().intersects (p.replayGainToggle.getBounds()));
        EXPECT_FALSE (p.replayGainToggle.getBounds().intersects (p.playlistToggle.getBounds()));
    }

    // And what they paint fits: no text is cut off, made smaller or runs into another.
    const auto fit = TextFit::check (p);
    EXPECT_TRUE (fit.cutOff.isEmpty()) << fit.cutOff.joinIntoString ("\n");
    EXPECT_TRUE (fit.shrunk.isEmpty()) << fit.shrunk.joinIntoString ("\n");
    EXPECT_TRUE (fit.overlapping.isEmpty()) << fit.overlapping.joinIntoString ("\n");
}

TEST_F (FormatPageTest, theExtrasTogglesStartFromTheSettingsAndWriteThrough)
{
    restartWith ({ { "embed_cover", "0" }, { "replaygain", "0" }, { "playlist", "1" } });
    auto& p = page();
    EXPECT_FALSE (p.coverToggle.getToggleState());
    EXPECT_FALSE (p.replayGainToggle.getToggleState());
    EXPECT_TRUE (p.playlistToggle.getToggleState());
    EXPECT_FALSE (project().embedCover);
    EXPECT_FALSE (project().replayGain);
    EXPECT_TRUE (project().writePlaylist);

    click (p.coverToggle);
    EXPECT_TRUE (project().embedCover);
    EXPECT_EQ (onDisk ("embed_cover"), "1");

    click (p.replayGainToggle);
    EXPECT_TRUE (project().replayGain);
    EXPECT_EQ (onDisk ("replaygain"), "1");
    click (p.replayGainToggle);
    EXPECT_FALSE (project().replayGain);
    EXPECT_EQ (onDisk ("replaygain"), "0");

    click (p.playlistToggle);
    EXPECT_FALSE (project().writePlaylist);
    EXPECT_EQ (onDisk ("playlist"), "0");

    // The program ends and starts again on the file it saved.
    wizard.reset();
    wizard = std::make_unique<MainComponent> (&window);
    wizard->setSize (435, 380);
    EXPECT_TRUE (page().coverToggle.getToggleState());
    EXPECT_FALSE (page().replayGainToggle.getToggleState());
    EXPECT_FALSE (page().playlistToggle.getToggleState());
}

TEST_F (FormatPageTest, screenshotWithFlacChosen)
{
    showPage (5);
    choose (formatFlac);
    runMessageLoopFor (20);

    const auto file = saveSnapshot (*wizard, "format-page-flac");
    EXPECT_TRUE (file.existsAsFile());
}
