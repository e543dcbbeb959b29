#include "app/ProjectPage.h"
#include "support/WizardFixture.h"

namespace
{
const char* const ripHelp[] = {
    "Select what type of project you want:\nRip vinyl (or any other audio source)\nor\nEncode or Reencode existing "
    "audio files",
    "Select the location for recording (if other than 'My Documents')\nChoose the sound card to use (if other than the "
    "default)\nIf you keep 'no' ticked for Preamp, an RIAA emulation filter will be applied",
    "Change info about the tracks you're about to rip.\nA new folder will be created to keep things organized.\nYou "
    "can drag cover (back and front) from any explorer/finder window.\nClick reset to reset all info, including covers",
    "Click Test to test the volume (not too loud, not too low)\nClick Calibrate to calibrate the silence "
    "threshold\nClick Rumble to deactivate/activate rumble filter\nClick Param to set the minimum silence between two "
    "tracks and the silence threshold for silence detection\nClick capture to start capturing and writing to disk",
    "You can apply filters to files in the tracklist\nCaution ! no preview here: files will be edited in place",
    "Select the format of audio file you want to generate.\nFor Itunes convertion, you need Itunes installed.\nFor "
    "lame "
    "you need to select the location of 'lame_enc.dll'",
    "Start over again by clicking on the 'Do new capture' button",
};

void expectHelp (const FakeDialogs::Alert& alert, const juce::String& message)
{
    EXPECT_EQ (alert.icon, juce::MessageBoxIconType::InfoIcon);
    EXPECT_EQ (alert.title, "Help");
    EXPECT_EQ (alert.message, message);
    EXPECT_EQ (alert.buttons, juce::StringArray ("ok"));
}
} // namespace

TEST_F (WizardTest, helpOnEveryPageOfARipSaysWhatThePageIsFor)
{
    for (int page = 0; page < 7; ++page)
    {
        SCOPED_TRACE (page);
        ASSERT_EQ (MainComponent::currentPage, page);
        click (wizard->helpButton);
        ASSERT_EQ (dialogs.alerts().size(), (size_t) page + 1);
        expectHelp (dialogs.alerts().back(), ripHelp[page]);
        EXPECT_EQ (MainComponent::currentPage, page);
        if (page < 6)
            next();
    }
}

TEST_F (WizardTest, helpOnThePagesOfAnEncodeSaysWhatThePageIsFor)
{
    click (wizard->helpButton);
    click (wizard->projectPage->encodeButton);
    next();
    click (wizard->helpButton);
    next();
    click (wizard->helpButton);
    next();
    click (wizard->helpButton);

    const auto alerts = dialogs.alerts();
    ASSERT_EQ (alerts.size(), 4u);
    expectHelp (alerts[0], ripHelp[0]);
    expectHelp (alerts[1], ripHelp[4]);
    expectHelp (alerts[2], ripHelp[5]);
    expectHelp (alerts[3], "Start over again by clicking on the 'Encode again' button");
}

TEST_F (WizardTest, helpOutsideThePagesIsAnError)
{
    MainComponent::currentPage = 7;
    wizard->buttonClicked (&wizard->helpButton);
    MainComponent::currentPage = 0;

    ASSERT_EQ (dialogs.alerts().size(), 1u);
    const auto alert = dialogs.alerts()[0];
    EXPECT_EQ (alert.icon, juce::MessageBoxIconType::WarningIcon);
    EXPECT_EQ (alert.title, "Groove Smith : Error");
    EXPECT_EQ (alert.message, "No help here");
    EXPECT_EQ (alert.buttons, juce::StringArray ("ok"));
}
