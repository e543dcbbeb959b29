// The tests' own dialogs: what a test scripts must be taken by a question, or the test fails.
#include "support/FakeDialogs.h"
#include "project/Dialogs.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

TEST (FakeDialogs, anAnswerThatNoQuestionTookFailsTheTestThatScriptedIt)
{
    EXPECT_NONFATAL_FAILURE (
        {
            FakeDialogs dialogs;
            dialogs.answer ("Cancel");
        },
        "the button \"Cancel\" of an alert");

    EXPECT_NONFATAL_FAILURE (
        {
            FakeDialogs dialogs;
            dialogs.chooseNext (juce::File ("/somewhere/x.flac"));
        },
        "the file \"/somewhere/x.flac\" of a chooser");

    EXPECT_NONFATAL_FAILURE (
        {
            FakeDialogs dialogs;
            dialogs.chooseNext ({});
        },
        "a cancelled chooser");

    EXPECT_NONFATAL_FAILURE (
        {
            FakeDialogs dialogs;
            dialogs.chooseNextFiles ({ juce::File ("/a.wav"), juce::File ("/b.wav") });
        },
        "a chooser of 2 files");
}

TEST (FakeDialogs, answersTakenByQuestionsLeaveNothingAndTheRestIsListedInOrder)
{
    FakeDialogs dialogs;
    dialogs.answer ("No");
    dialogs.chooseNext (juce::File ("/x/y.wav"));

    EXPECT_EQ (showYesNoCancel (juce::MessageBoxIconType::QuestionIcon, "Title", "Message", "Yes", "No", "Cancel"), 2);
    juce::File chosen;
    EXPECT_TRUE (Dialogs::get().chooseFile (FileRequest(), chosen));
    EXPECT_EQ (chosen, juce::File ("/x/y.wav"));
    EXPECT_TRUE (dialogs.unusedAnswers().isEmpty());

    dialogs.answer ("Yes");
    dialogs.chooseNext ({});
    EXPECT_EQ (dialogs.unusedAnswers(), juce::StringArray ("the button \"Yes\" of an alert", "a cancelled chooser"));

    // Taken now, so that this test passes.
    EXPECT_EQ (showYesNoCancel (juce::MessageBoxIconType::QuestionIcon, "Title", "Message", "Yes", "No", "Cancel"), 1);
    EXPECT_FALSE (Dialogs::get().chooseFile (FileRequest(), chosen));
    EXPECT_TRUE (dialogs.unusedAnswers().isEmpty());
}
