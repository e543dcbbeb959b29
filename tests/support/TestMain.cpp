// Every test gets a home folder of its own, fresh and empty, so that nothing reaches the user's
// files and no test sees what another one left behind, whether CTest runs each test in a process
// of its own or the whole binary runs in one. JUCE's message system, which the program's windows
// and timers need, lives as long as the process.
#include "capture/AudioCallback.h"
#include "capture/DropoutLog.h"
#include "project/Project.h"
#include "support/TestHelpers.h"

#include <juce_gui_basics/juce_gui_basics.h>

#include <gtest/gtest.h>

#include <cstdlib>

namespace
{
class JuceEnvironment : public ::testing::Environment
{
public:
    void SetUp() override { juce = std::make_unique<juce::ScopedJuceInitialiser_GUI>(); }
    void TearDown() override { juce.reset(); }

private:
    std::unique_ptr<juce::ScopedJuceInitialiser_GUI> juce;
};

std::string makeTemporaryRoot()
{
    char pattern[] = "/tmp/groovesmith-test-home-XXXXXX";
    const char* folder = mkdtemp (pattern);
    return folder != nullptr ? folder : "/tmp";
}

bool keepHomes()
{
    return std::getenv ("GROOVESMITH_KEEP_TEST_HOME") != nullptr;
}

/** Points the user's folders (home, configuration, documents, temporary files) at `home`. The
    names are all set once before any test, so that later changes only replace values. */
void useHome (const juce::File& home)
{
    home.createDirectory();
    home.getChildFile ("tmp").createDirectory();

    const auto path = home.getFullPathName().toStdString();
    setenv ("HOME", path.c_str(), 1);
    setenv ("XDG_CONFIG_HOME", (path + "/.config").c_str(), 1);
    setenv ("XDG_DOCUMENTS_DIR", (path + "/Documents").c_str(), 1);
    setenv ("GROOVESMITH_TEST_HOME", path.c_str(), 1);
    setenv ("TMPDIR", (path + "/tmp").c_str(), 1);
}

/** Before each test, a new home below the process's temporary root; after it, the home goes. */
class FreshHomeForEachTest : public ::testing::EmptyTestEventListener
{
public:
    explicit FreshHomeForEachTest (juce::File rootToUse)
        : root (std::move (rootToUse))
    {
    }

    void OnTestStart (const ::testing::TestInfo& test) override
    {
        const auto name = (juce::String (test.test_suite_name()) + "." + test.name()).replaceCharacters ("/ ", "__");
        home = root.getNonexistentChildFile (name, {}, false);
        useHome (home);

        // The program's process-wide memories start from rest, as in a process of its own.
        Project::resetSmoothedLevels();
        AudioCallback::resetSameMillisecondCount();
        DropoutLog::clear();
    }

    void OnTestEnd (const ::testing::TestInfo&) override
    {
        useHome (root);
        if (! keepHomes())
            home.deleteRecursively();
    }

private:
    const juce::File root;
    juce::File home;
};
} // namespace

int main (int argc, char** argv)
{
    ::testing::InitGoogleTest (&argc, argv);

    const auto root = juce::File (juce::String (makeTemporaryRoot()));
    useHome (root);

    // JUCE readies Xlib for threads and installs its X error handlers only when it runs as an
    // application, as the program does. Without them the first window under a virtual display
    // with no window manager ends the process (a BadAtom error on WM_STATE).
    juce::JUCEApplicationBase::createInstance = []() -> juce::JUCEApplicationBase* { return nullptr; };

    ::testing::UnitTest::GetInstance()->listeners().Append (new FreshHomeForEachTest (root));
    ::testing::AddGlobalTestEnvironment (new JuceEnvironment());
    const int result = RUN_ALL_TESTS();

    if (! keepHomes())
        root.deleteRecursively();

    return result;
}
