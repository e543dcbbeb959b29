// The Debian package, built as script/package builds it, unpacked into a throw-away root: it holds
// the program where Debian wants it, and the installed program, started by name from the PATH with
// "lang" set to "fr", shows its window in French and ends cleanly.
#include "app/MainComponent.h"
#include "app/Page.h"
#include "project/Project.h"
#include "support/FakeDialogs.h"
#include "support/ProgramProcesses.h"
#include "support/Snapshots.h"
#include "support/TestHelpers.h"

#include <gtest/gtest.h>

namespace
{
/** Builds the package into `folder` with the build's own CPack configuration; the .deb made. */
juce::File buildPackage (const juce::File& folder)
{
    juce::ChildProcess cpack;
    const juce::File config (juce::String (GROOVESMITH_BUILD_DIR) + "/CPackConfig.cmake");
    if (! config.existsAsFile() ||
        ! cpack.start (juce::StringArray{ "timeout", "-k", "5", "300", "cpack", "-G", "DEB", "--config",
                                          config.getFullPathName(), "-B", folder.getFullPathName() }))
        return {};

    const auto log = cpack.readAllProcessOutput();
    if (! cpack.waitForProcessToFinish (310000) || cpack.getExitCode() != 0)
    {
        ADD_FAILURE() << "cpack failed:\n" << log;
        return {};
    }

    const auto packages = folder.findChildFiles (juce::File::findFiles, false, "groovesmith_*.deb");
    return packages.size() == 1 ? packages[0] : juce::File();
}

/** A field of the package's control data, such as "Depends". */
juce::String controlField (const juce::File& package, const juce::String& field)
{
    return outputOf ({ "dpkg-deb", "--field", package.getFullPathName(), field }).trim();
}

/** The fraction of pixels of two pictures of one size that differ visibly. */
double differingPixels (const juce::Image& a, const juce::Image& b)
{
    if (a.getBounds() != b.getBounds() || a.isNull())
        return 1.0;

    int differing = 0;
    for (int y = 0; y < a.getHeight(); ++y)
    {
        for (int x = 0; x < a.getWidth(); ++x)
        {
            const auto p = a.getPixelAt (x, y);
            const auto q = b.getPixelAt (x, y);
            if (std::abs (p.getRed() - q.getRed()) + std::abs (p.getGreen() - q.getGreen()) +
                    std::abs (p.getBlue() - q.getBlue()) >
                48)
                ++differing;
        }
    }
    return (double) differing / (double) (a.getWidth() * a.getHeight());
}

/** The first page of the wizard as the program draws it, in the language of `languageFile`, or in
    English for a default File. */
juce::Image firstPageDrawnHere (const juce::File& languageFile)
{
    juce::File copied;
    if (languageFile != juce::File())
    {
        const auto code = "pkg" + juce::String (juce::Random::getSystemRandom().nextInt (1000000));
        copied = Project::programFolder().getChildFile ("lang-" + code + ".txt");
        languageFile.copyFileTo (copied);
        Project settingsWriter;
        settingsWriter.getSettings().setValue ("lang", code);
    }
    else
    {
        Project settingsWriter;
        settingsWriter.getSettings().setValue ("lang", "en");
    }

    FakeDialogs dialogs;
    juce::Component window;
    window.setSize (435, 380);
    MainComponent wizard (&window);
    wizard.setSize (435, 380);
    const auto picture =
        saveSnapshot (wizard, languageFile == juce::File() ? "package-expected-en" : "package-expected-fr");
    copied.deleteFile();
    return juce::ImageFileFormat::loadFrom (picture);
}

/** The window's title as the program set it. */
juce::String titleOf (const juce::String& window)
{
    return outputOf ({ "xdotool", "getwindowname", window }).trimEnd();
}

juce::Image screenshotOf (const juce::String& window, const juce::String& name)
{
    const juce::File folder (GROOVESMITH_ARTEFACT_DIR);
    folder.createDirectory();
    const auto file = folder.getChildFile (name + ".png");
    file.deleteFile();
    outputOf ({ "import", "-window", window, file.getFullPathName() });
    return juce::ImageFileFormat::loadFrom (file);
}
} // namespace

TEST (Package, installsTheProgramTheDebianWayAndItStartsInFrench)
{
    // The package, as script/package makes it.
    const auto work = freshFolder ("package");
    const auto package = buildPackage (work.getChildFile ("out"));
    ASSERT_TRUE (package.existsAsFile());

    EXPECT_EQ (controlField (package, "Package"), "groovesmith");
    EXPECT_EQ (controlField (package, "Version"), "1.0");
    const auto depends = controlField (package, "Depends");
    for (const auto* dependency :
         { "libmp3lame0", "libc6 (", "libtag1v5", "libflac12", "libvorbisenc2", "libasound2", "libx11-6" })
        EXPECT_TRUE (depends.contains (dependency)) << dependency << " not in: " << depends;

    // Unpacked into a root of the test's own.
    const auto root = work.getChildFile ("root");
    ASSERT_TRUE (root.createDirectory());
    ASSERT_EQ (outputOf ({ "sh", "-c", "dpkg-deb -x \"$0\" \"$1\" && echo unpacked", package.getFullPathName(),
                           root.getFullPathName() })
                   .trim(),
               "unpacked");

    const auto privateFolder = root.getChildFile ("usr/lib/groovesmith");
    const auto executable = privateFolder.getChildFile ("Groovesmith");
    const auto launcher = root.getChildFile ("usr/bin/groovesmith");
    ASSERT_TRUE (executable.existsAsFile());
    EXPECT_TRUE (outputOf ({ "stat", "-c", "%A", executable.getFullPathName() }).trim() == "-rwxr-xr-x");
    EXPECT_TRUE (outputOf ({ "file", "-b", executable.getFullPathName() }).contains (", stripped"));
    ASSERT_TRUE (launcher.isSymbolicLink());
    EXPECT_EQ (launcher.getLinkedTarget(), executable);

    for (const auto* code : { "fr", "de" })
    {
        const auto installed = privateFolder.getChildFile ("lang-" + juce::String (code) + ".txt");
        const auto shipped =
            juce::File (GROOVESMITH_SOURCE_DIR).getChildFile ("resources/lang/lang-" + juce::String (code) + ".txt");
        EXPECT_TRUE (installed.hasIdenticalContentTo (shipped)) << code;
    }

    const auto desktopEntry = root.getChildFile ("usr/share/applications/org.tonewell.Groovesmith.desktop");
    const auto metainfo = root.getChildFile ("usr/share/metainfo/org.tonewell.Groovesmith.metainfo.xml");
    ASSERT_TRUE (desktopEntry.existsAsFile());
    ASSERT_TRUE (metainfo.existsAsFile());
    EXPECT_TRUE (desktopEntry.loadFileAsString().contains ("\nExec=groovesmith\n"));
    EXPECT_TRUE (desktopEntry.loadFileAsString().contains ("\nIcon=org.tonewell.Groovesmith\n"));
    EXPECT_EQ (
        outputOf ({ "sh", "-c", "desktop-file-validate \"$0\" 2>&1 && echo valid", desktopEntry.getFullPathName() })
            .trim(),
        "valid");
    EXPECT_TRUE (outputOf ({ "sh", "-c", "appstreamcli validate --no-net \"$0\" 2>&1 && echo valid",
                             metainfo.getFullPathName() })
                     .trim()
                     .endsWith ("valid"));

    for (const auto size : { 16, 24, 32, 48, 64, 128, 256 })
    {
        const auto icon = root.getChildFile ("usr/share/icons/hicolor/" + juce::String (size) + "x" +
                                             juce::String (size) + "/apps/org.tonewell.Groovesmith.png");
        const auto image = juce::ImageFileFormat::loadFrom (icon);
        EXPECT_EQ (image.getWidth(), size) << icon.getFullPathName();
        EXPECT_EQ (image.getHeight(), size) << icon.getFullPathName();
    }
    EXPECT_TRUE (root.getChildFile ("usr/share/doc/groovesmith/copyright").existsAsFile());
    EXPECT_TRUE (root.getChildFile ("usr/share/doc/groovesmith/changelog.gz").existsAsFile());
    EXPECT_TRUE (root.getChildFile ("usr/share/man/man1/groovesmith.1.gz").existsAsFile());

    // The installed program in French: "lang" is "fr" in the settings of the test's home.
    // The first page as this process draws it, in French and in English, for the comparison below.
    // Drawn before the display changes: the framework keeps the display it first opens.
    const auto french = firstPageDrawnHere (privateFolder.getChildFile ("lang-fr.txt"));
    const auto english = firstPageDrawnHere ({});
    {
        Project settingsWriter;
        settingsWriter.getSettings().setValue ("lang", "fr");
    }

    const ProgramTurn turn;
    ASSERT_TRUE (turn.isHeld());
    ASSERT_TRUE (waitFor (noInstanceRunning, 120000)) << "Groove Smith is already running on this machine";
    const OwnDisplay display ("1024x768x24");
    ASSERT_TRUE (display.isReady());

    // Started by its name on the PATH from another folder, as the desktop's menu starts it.
    juce::ChildProcess program;
    const EndsWithTheTest programEnds{ program };
    ASSERT_TRUE (program.start (juce::StringArray{ "sh", "-c", "cd / && PATH=\"$0:$PATH\" exec groovesmith",
                                                   launcher.getParentDirectory().getFullPathName() },
                                0));

    const auto window = settledWindowNamed ("Groovesmith -- ", 30000);
    ASSERT_TRUE (window.isNotEmpty()) << "the installed program shows no window";

    EXPECT_EQ (titleOf (window), "Groovesmith -- Étape 1 sur 7");

    // The window shows what the wizard draws in French, and not what it draws in English.
    const auto shown = screenshotOf (window, "package-installed-fr");
    ASSERT_EQ (shown.getBounds(), juce::Rectangle<int> (0, 0, 435, 380));
    const auto fromFrench = differingPixels (shown, french);
    const auto fromEnglish = differingPixels (shown, english);
    std::cout << "pixels that differ from the French page: " << fromFrench << ", from the English page: " << fromEnglish
              << std::endl;
    EXPECT_LT (fromFrench, 0.002);
    EXPECT_GT (fromEnglish, 0.01);

    // Cancel, then the question in French, answered with the return key: the program ends cleanly.
    outputOf ({ "xdotool", "mousemove", "--window", window, "293", "362", "click", "1" });
    juce::String question;
    ASSERT_TRUE (
        waitFor ([&question] { return (question = windowNamed ("Quitter Groove Smith")).isNotEmpty(); }, 10000))
        << "no question in French on Cancel";
    juce::Thread::sleep (300);
    screenshotOf (question, "package-installed-fr-quit");
    outputOf ({ "xdotool", "key", "--clearmodifiers", "Return" });

    ASSERT_TRUE (program.waitForProcessToFinish (20000)) << "the program did not end";
    EXPECT_EQ (program.getExitCode(), 0u);
}
