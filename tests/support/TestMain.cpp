// Every test process gets a home folder of its own, so that nothing reaches the user's files,
// and JUCE's message system, which the program's windows and timers need.
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

std::string makeTemporaryHome()
{
    char pattern[] = "/tmp/groovesmith-test-home-XXXXXX";
    const char* folder = mkdtemp (pattern);
    return folder != nullptr ? folder : "/tmp";
}
} // namespace

int main (int argc, char** argv)
{
    ::testing::InitGoogleTest (&argc, argv);

    const auto home = makeTemporaryHome();
    setenv ("HOME", home.c_str(), 1);
    setenv ("XDG_CONFIG_HOME", (home + "/.config").c_str(), 1);
    setenv ("XDG_DOCUMENTS_DIR", (home + "/Documents").c_str(), 1);
    setenv ("GROOVESMITH_TEST_HOME", home.c_str(), 1);

    // Temporary files too stay apart from those of tests running beside this one.
    const auto temporary = home + "/tmp";
    juce::File (temporary).createDirectory();
    setenv ("TMPDIR", temporary.c_str(), 1);

    // JUCE readies Xlib for threads and installs its X error handlers only when it runs as an
    // application, as the program does. Without them the first window under a virtual display
    // with no window manager ends the process (a BadAtom error on WM_STATE).
    juce::JUCEApplicationBase::createInstance = []() -> juce::JUCEApplicationBase* { return nullptr; };

    ::testing::AddGlobalTestEnvironment (new JuceEnvironment());
    const int result = RUN_ALL_TESTS();

    if (std::getenv ("GROOVESMITH_KEEP_TEST_HOME") == nullptr)
        juce::File (home).deleteRecursively();

    return result;
}
