// The last page: its texts in a rip and in an encode project, and the two ways back into the
// wizard, "Do new capture" to the album page and "Encode again" to the track page.
#include "encoding/FinalPage.h"
#include "EncodingPagesFixture.h"
#include "PageImageSupport.h"
#include "app/ProjectPage.h"
#include "capture/AudioReader.h"
#include "support/Snapshots.h"

class FinalPageTest : public EncodingPagesTest
{
protected:
    /** The wizard in a window of its own on the screen, so that a repaint really paints. */
    void putOnScreen()
    {
        wizard->setVisible (true);
        wizard->addToDesktop (0);
    }

    FinalPage& page() { return *wizard->finalPage; }

    /** A few track files in the list, as a capture or the user's files leave them. */
    juce::Array<juce::File> addTracks (int count)
    {
        const auto folder = audiofiles::freshFolder ("tracks");
        juce::Array<juce::File> files;
        for (int i = 1; i <= count; ++i)
        {
            const auto file = folder.getChildFile ("Track" + juce::String (i) + ".wav");
            audiofiles::writeAudio (file, 44100.0, 16, audiofiles::makeSignal (2, 4410, 16, (juce::uint32) i));
            project().addTrack (file.getFullPathName(), formatWav);
            files.add (file);
        }
        return files;
    }

    void chooseEncode()
    {
        click (wizard->projectPage->encodeButton);
        ASSERT_EQ (project().projectType, encodeProject);
    }
};

TEST_F (FinalPageTest, thePageAsksForANewCapture)
{
    auto& p = page();
    EXPECT_EQ (p.getName(), "FinalPage");
    EXPECT_EQ (p.finalLabel.getName(), "final");
    EXPECT_EQ (p.finalLabel.getText(), "Do you wish to do a new capture ?");
    EXPECT_EQ (p.finalLabel.getBounds(), juce::Rectangle<int> (60, 75, 320, 50));
    EXPECT_EQ (p.againButton.getName(), "Do new capture");
    EXPECT_EQ (p.againButton.getButtonText(), "Do new capture");
    EXPECT_EQ (p.againButton.getTooltip(), "Start over again");
    EXPECT_EQ (p.againButton.getBounds(), juce::Rectangle<int> (140, 135, 160, 25));

    showPage (6);
    EXPECT_EQ (p.finalLabel.getText(), "Do you wish to do a new capture ?");
    EXPECT_EQ (p.againButton.getButtonText(), "Do new capture");
    EXPECT_EQ (wizard->nextButton.getButtonText(), "Quit");
}

TEST_F (FinalPageTest, anEncodeProjectIsOfferedAnotherEncode)
{
    chooseEncode();
    showPage (6);
    EXPECT_EQ (page().finalLabel.getText(), "Do you wish to encode more ?");
    EXPECT_EQ (page().againButton.getButtonText(), "Encode again");
    EXPECT_EQ (page().againButton.getTooltip(), "Start over again");
}

TEST_F (FinalPageTest, aRepaintOnTheLastPageBringsTheEncodeTexts)
{
    showPage (6);
    project().projectType = encodeProject;
    wizard->paint (*std::make_unique<juce::Graphics> (juce::Image (juce::Image::ARGB, 435, 380, true)));
    EXPECT_EQ (page().finalLabel.getText(), "Do you wish to encode more ?");
    EXPECT_EQ (page().againButton.getButtonText(), "Encode again");
}

TEST_F (FinalPageTest, theEncodeTextsStayAfterALaterChoiceOfARip)
{
    chooseEncode();
    showPage (6);
    showPage (0);
    click (wizard->projectPage->ripButton);
    ASSERT_EQ (project().projectType, ripProject);

    page().refresh();
    showPage (6);
    EXPECT_EQ (page().finalLabel.getText(), "Do you wish to encode more ?");
    EXPECT_EQ (page().againButton.getButtonText(), "Encode again");
}

TEST_F (FinalPageTest, doNewCaptureEmptiesTheListKeepsTheFilesAndGoesToTheAlbumPage)
{
    next();
    next();
    const auto files = addTracks (3);
    project().captureFolder = files[0].getParentDirectory().getFullPathName();
    project().album = "First";
    project().lastWrittenTrack = 3;
    showPage (6);
    putOnScreen();

    click (page().againButton);
    EXPECT_TRUE (waitUntil ([this] { return title() == "Groovesmith -- Page 3 / 7"; })) << title();
    EXPECT_EQ (MainComponent::currentPage, 2);
    EXPECT_EQ (visiblePage(), 2);
    EXPECT_EQ (project().trackCount(), 0);
    for (const auto& file : files)
        EXPECT_TRUE (file.existsAsFile()) << file.getFullPathName();
    EXPECT_EQ (project().captureFolder, project().rootDirectory);
    EXPECT_TRUE (project().captureStarted);
    EXPECT_EQ (project().lastWrittenTrack, 0);

    // The album data stays for the next record, and Back stays hidden now that a rip began.
    EXPECT_EQ (project().album, "First");
    // The repaint that the wizard asked for brings its buttons in step.
    EXPECT_TRUE (waitUntil ([this] { return wizard->nextButton.getButtonText() == "Next"; }));
    EXPECT_FALSE (wizard->backButton.isVisible());
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (FinalPageTest, doNewCaptureStopsThePreviewAndLetsGoOfItsFileWithoutDeletingIt)
{
    const auto files = addTracks (1);
    AudioReader reader (&project());
    project().audioReader = &reader;
    reader.play (files[0], 0.0);
    ASSERT_TRUE (reader.isPlaying());
    ASSERT_GT (reader.getTotalLength(), 0.0);
    showPage (6);

    click (page().againButton);
    EXPECT_EQ (project().audioReader, &reader);
    EXPECT_FALSE (reader.isPlaying());
    EXPECT_EQ (reader.getTotalLength(), 0.0);
    EXPECT_TRUE (files[0].existsAsFile());

    // Still a working player: the track page can play the next file with it.
    reader.play (files[0], 0.0);
    EXPECT_TRUE (reader.isPlaying());
    reader.stop();
    project().audioReader = nullptr;
}

TEST_F (FinalPageTest, encodeAgainEmptiesTheTrackListAndLeavesTheFilesOnDisk)
{
    chooseEncode();
    const auto files = addTracks (3);
    const auto cover = makeFile (audiofiles::freshFolder ("covers"), "front.jpg", "picture");
    project().album = "Album";
    project().artist = "Artist";
    project().year = "2001";
    project().genre = "Pop";
    project().frontCover = cover;
    project().backCover = cover;
    project().lastWrittenTrack = 3;
    showPage (6);
    putOnScreen();

    click (page().againButton);
    EXPECT_TRUE (waitUntil ([this] { return title() == "Groovesmith -- Page 5 / 7"; })) << title();
    EXPECT_EQ (MainComponent::currentPage, 4);
    EXPECT_EQ (visiblePage(), 4);
    EXPECT_EQ (project().trackCount(), 0);
    for (const auto& file : files)
        EXPECT_TRUE (file.existsAsFile()) << file.getFullPathName();
    EXPECT_TRUE (cover.existsAsFile());
    EXPECT_EQ (project().album, "");
    EXPECT_EQ (project().artist, "");
    EXPECT_EQ (project().year, "");
    EXPECT_EQ (project().genre, "");
    EXPECT_EQ (project().frontCover, juce::File());
    EXPECT_EQ (project().backCover, juce::File());
    EXPECT_EQ (project().lastWrittenTrack, 0);
    EXPECT_FALSE (project().captureStarted);

    EXPECT_TRUE (waitUntil ([this] { return wizard->nextButton.getButtonText() == "Next"; }));
    EXPECT_TRUE (wizard->backButton.isVisible());
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (FinalPageTest, nextOnTheLastPageQuits)
{
    showPage (6);
    next();
    EXPECT_EQ (quitCount, 1);
}

TEST_F (FinalPageTest, screenshotOfTheLastPage)
{
    using namespace page_image;
    showPage (6);
    runMessageLoopFor (20);
    EXPECT_TRUE (saveSnapshot (*wizard, "final-page-rip").existsAsFile());
    const auto rip = windowImage (*wizard);

    chooseEncode();
    showPage (6);
    runMessageLoopFor (20);
    EXPECT_TRUE (saveSnapshot (*wizard, "final-page-encode").existsAsFile());
    const auto encode = windowImage (*wizard);

    ASSERT_NE (page().getBanner(), nullptr);
    const juce::Rectangle<int> labelArea (60, 75, 320, 50), buttonArea (140, 135, 160, 25);
    std::vector<juce::Range<int>> labelTexts, buttonTexts;

    for (const auto* shot : { &rip, &encode })
    {
        EXPECT_TRUE (showsBanner (*shot, *page().getBanner()));
        EXPECT_TRUE (showsFootLine (*shot));

        // The button at (140, 135), 160 by 25, filled on both sides of its text, the page around it.
        EXPECT_TRUE (filledWith (*shot, { 144, 139, 20, 17 }, juce::Colour (0xffe8e8e8)));
        EXPECT_TRUE (filledWith (*shot, { 276, 139, 20, 17 }, juce::Colour (0xffe8e8e8)));
        EXPECT_TRUE (filledWith (*shot, { 130, 135, 8, 25 }, windowBackground));
        EXPECT_TRUE (filledWith (*shot, { 302, 135, 8, 25 }, windowBackground));

        // Both texts centred in their places.
        labelTexts.push_back (inkColumns (*shot, labelArea));
        buttonTexts.push_back (inkColumns (*shot, buttonArea.reduced (4)));
        for (const auto& [text, area] :
             { std::pair (labelTexts.back(), labelArea), std::pair (buttonTexts.back(), buttonArea) })
        {
            ASSERT_FALSE (text.isEmpty());
            EXPECT_LE (std::abs ((text.getStart() - area.getX()) - (area.getRight() - text.getEnd())), 3);
        }

        // Nothing else between the button and the line.
        EXPECT_TRUE (filledWith (*shot, { 0, 165, shot->getWidth(), 170 }, windowBackground));
    }

    // The encode texts are the shorter ones.
    EXPECT_LT (labelTexts[1].getLength(), labelTexts[0].getLength());
    EXPECT_LT (buttonTexts[1].getLength(), buttonTexts[0].getLength());
}
