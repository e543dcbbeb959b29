// The album page: its fields written through to the project, Reset, the refresh as the program
// does it (the front cover in both previews), the covers dropped on the window, and the
// thumbnails drawn centred and never enlarged.
#include "encoding/AlbumPage.h"
#include "EncodingPagesFixture.h"
#include "PageImageSupport.h"
#include "encoding/ThumbnailComponent.h"
#include "support/Snapshots.h"

namespace
{
/** A picture of four coloured quarters, so that where it lands and how big can be seen. */
juce::Image quarters (int width, int height)
{
    juce::Image image (juce::Image::RGB, width, height, true);
    juce::Graphics g (image);
    const int w = width / 2;
    const int h = height / 2;
    g.setColour (juce::Colours::red);
    g.fillRect (0, 0, w, h);
    g.setColour (juce::Colours::lime);
    g.fillRect (w, 0, width - w, h);
    g.setColour (juce::Colours::blue);
    g.fillRect (0, h, w, height - h);
    g.setColour (juce::Colours::yellow);
    g.fillRect (w, h, width - w, height - h);
    return image;
}

juce::File writePicture (const juce::File& file, const juce::Image& image)
{
    file.getParentDirectory().createDirectory();
    file.deleteFile();
    juce::FileOutputStream stream (file);
    if (file.hasFileExtension ("png"))
        juce::PNGImageFormat().writeImageToStream (image, stream);
    else
    {
        juce::JPEGImageFormat jpeg;
        jpeg.setQuality (1.0f);
        jpeg.writeImageToStream (image, stream);
    }
    return file;
}

/** True when the pixel is near the colour (a JPEG blurs it a little). */
bool near (juce::Colour pixel, juce::Colour expected)
{
    return std::abs (pixel.getRed() - expected.getRed()) < 40 &&
           std::abs (pixel.getGreen() - expected.getGreen()) < 40 &&
           std::abs (pixel.getBlue() - expected.getBlue()) < 40 && pixel.getAlpha() == 255;
}

/** Loads the preview's file now, as its timer would. */
void loadNow (ThumbnailComponent& preview)
{
    preview.timerCallback();
}

/** The file the preview holds a decoded picture of, or a default File when nothing shows. */
juce::File shownFile (const ThumbnailComponent& preview)
{
    return preview.getThumbnail() != nullptr ? preview.getFile() : juce::File();
}
} // namespace

class AlbumPageTest : public EncodingPagesTest
{
protected:
    void SetUp() override
    {
        EncodingPagesTest::SetUp();
        folder = audiofiles::freshFolder ("covers");
    }

    AlbumPage& page() { return *wizard->albumPage; }

    /** The user goes from the first page to the album page of a rip. */
    void goToAlbumPage()
    {
        next();
        next();
        ASSERT_EQ (MainComponent::currentPage, 2);
        ASSERT_EQ (visiblePage(), 2);
    }

    /** Waits for both previews' timers to have loaded their files. */
    void waitForPreviews()
    {
        EXPECT_TRUE (waitUntil (
            [this] { return ! page().frontPreview.isTimerRunning() && ! page().backPreview.isTimerRunning(); }));
    }

    void drop (const juce::StringArray& files, int x, int y = 120)
    {
        wizard->filesDropped (files, x, y);
        runMessageLoopFor (5);
    }

    juce::File picture (const juce::String& name, int width = 40, int height = 20)
    {
        return writePicture (folder.getChildFile (name), quarters (width, height));
    }

    juce::File folder;
};

TEST_F (AlbumPageTest, thePageShowsItsControlsWithTheirTextsNamesAndPlaces)
{
    auto& p = page();
    EXPECT_EQ (p.getName(), "AlbumPage");

    EXPECT_EQ (p.frontGroup.getName(), "artgroup");
    EXPECT_EQ (p.frontGroup.getText(), "Front");
    EXPECT_EQ (p.frontGroup.getBounds(), juce::Rectangle<int> (90, 60, 100, 100));
    EXPECT_EQ (p.backGroup.getName(), "artgroup");
    EXPECT_EQ (p.backGroup.getText(), "Back");
    EXPECT_EQ (p.backGroup.getBounds(), juce::Rectangle<int> (210, 60, 100, 100));

    const std::vector<std::tuple<juce::Label*, const char*, const char*, int>> labels{
        { &p.albumLabel, "albumLbl", "Album:", 160 },
        { &p.artistLabel, "artistLbl", "Artist:", 190 },
        { &p.yearLabel, "yearLbl", "Year:", 220 },
        { &p.genreLabel, "styleLbl", "Genre:", 250 },
    };
    for (const auto& [label, name, text, y] : labels)
    {
        EXPECT_EQ (label->getName(), name);
        EXPECT_EQ (label->getText(), text);
        EXPECT_EQ (label->getBounds(), juce::Rectangle<int> (32, y, 110, 32));
        EXPECT_EQ (label->getJustificationType(), juce::Justification (juce::Justification::centredRight));
    }

    const std::vector<std::tuple<juce::TextEditor*, const char*, int>> fields{
        { &p.albumField, "album", 160 },
        { &p.artistField, "artist", 190 },
        { &p.yearField, "year", 220 },
        { &p.genreField, "genre", 250 },
    };
    for (const auto& [field, name, y] : fields)
    {
        EXPECT_EQ (field->getName(), name);
        EXPECT_EQ (field->getText(), "");
        EXPECT_EQ (field->getBounds(), juce::Rectangle<int> (150, y, 200, 32));
    }

    EXPECT_EQ (p.resetButton.getButtonText(), "Reset");
    EXPECT_EQ (p.resetButton.getTooltip(), "Reset all fields, including covers");
    EXPECT_EQ (p.resetButton.getBounds(), juce::Rectangle<int> (32, 310, 128, 24));

    EXPECT_EQ (p.frontPreview.getBounds(), juce::Rectangle<int> (100, 75, 80, 80));
    EXPECT_EQ (p.backPreview.getBounds(), juce::Rectangle<int> (220, 75, 80, 80));

    EXPECT_EQ (p.frontHint.getName(), "draghere");
    EXPECT_EQ (p.frontHint.getText(), "Drag'n'drop\nfront cover\nhere");
    EXPECT_EQ (p.frontHint.getTooltip(), "Drop the album's front cover from another window");
    EXPECT_EQ (p.frontHint.getBounds(), juce::Rectangle<int> (100, 70, 80, 80));
    EXPECT_EQ (p.backHint.getName(), "draghere");
    EXPECT_EQ (p.backHint.getText(), "Drag'n'drop\nback cover\nhere");
    EXPECT_EQ (p.backHint.getTooltip(), "Drop the album's back cover from another window");
    EXPECT_EQ (p.backHint.getBounds(), juce::Rectangle<int> (220, 70, 80, 80));
    for (auto* hint : { &p.frontHint, &p.backHint })
        EXPECT_EQ (hint->getJustificationType(), juce::Justification (juce::Justification::centred));
}

TEST_F (AlbumPageTest, everyKeystrokeInAnyFieldStoresAllFourFields)
{
    goToAlbumPage();
    auto& p = page();

    // The fields say one thing and the project holds another, as after a change made elsewhere:
    // one keystroke in any one field brings all four fields into the project.
    p.albumField.setText ("Kind of Blue", false);
    p.artistField.setText ("Miles Davis", false);
    p.yearField.setText ("MCMLIX", false);
    p.genreField.setText ("Jazz", false);

    const std::vector<std::pair<juce::TextEditor*, juce::String Project::*>> fields{
        { &p.albumField, &Project::album },
        { &p.artistField, &Project::artist },
        { &p.yearField, &Project::year },
        { &p.genreField, &Project::genre },
    };

    for (const auto& [field, typedInto] : fields)
    {
        SCOPED_TRACE (field->getName().toStdString());
        for (const auto& [other, member] : fields)
            project().*member = "stale";

        field->grabKeyboardFocus();
        field->moveCaretToEnd();
        field->insertTextAtCaret ("!");
        auto* const stored = &(project().*typedInto);
        ASSERT_TRUE (waitUntil ([stored, field = field] { return *stored == field->getText(); }));

        EXPECT_EQ (project().album, p.albumField.getText());
        EXPECT_EQ (project().artist, p.artistField.getText());
        EXPECT_EQ (project().year, p.yearField.getText());
        EXPECT_EQ (project().genre, p.genreField.getText());
    }

    // The year stays the text that was typed.
    EXPECT_EQ (project().year, "MCMLIX!");
    EXPECT_EQ (project().album, "Kind of Blue!");

    // A field emptied is an empty value.
    p.genreField.setText ({}, true);
    EXPECT_TRUE (waitUntil ([this] { return project().genre.isEmpty(); }));
    EXPECT_EQ (project().album, "Kind of Blue!");
}

TEST_F (AlbumPageTest, refreshFillsTheFieldsWithoutWritingThemBack)
{
    /** Counts the change messages the fields send. */
    struct ChangeCounter : juce::TextEditor::Listener
    {
        void textEditorTextChanged (juce::TextEditor&) override { ++changes; }
        int changes = 0;
    } counter;

    auto& p = page();
    for (auto* field : { &p.albumField, &p.artistField, &p.yearField, &p.genreField })
        field->addListener (&counter);

    project().album = "Blue Train";
    project().artist = "John Coltrane";
    project().year = "1957";
    project().genre = "Jazz";
    p.refresh();

    // Changed again before any message could come back: a refresh that wrote the fields back
    // would put the old values over these.
    project().album = "Giant Steps";
    project().year = "1960";
    runMessageLoopFor (50);

    EXPECT_EQ (p.albumField.getText(), "Blue Train");
    EXPECT_EQ (p.artistField.getText(), "John Coltrane");
    EXPECT_EQ (p.yearField.getText(), "1957");
    EXPECT_EQ (p.genreField.getText(), "Jazz");
    EXPECT_EQ (counter.changes, 0);
    EXPECT_EQ (project().album, "Giant Steps");
    EXPECT_EQ (project().year, "1960");

    for (auto* field : { &p.albumField, &p.artistField, &p.yearField, &p.genreField })
        field->removeListener (&counter);
}

TEST_F (AlbumPageTest, aDropLeftOfTheLineAt200IsTheFrontAndFrom200OnTheBack)
{
    goToAlbumPage();
    const auto front = picture ("front.jpg");
    const auto back = picture ("back.png");

    drop ({ front.getFullPathName() }, 199);
    EXPECT_EQ (project().frontCover, front);
    EXPECT_EQ (project().backCover, juce::File());
    EXPECT_EQ (page().frontHint.getText(), "");
    EXPECT_EQ (page().backHint.getText(), "Drag'n'drop\nback cover\nhere");

    drop ({ back.getFullPathName() }, 200);
    EXPECT_EQ (project().backCover, back);
    EXPECT_EQ (project().frontCover, front);
    EXPECT_EQ (page().backHint.getText(), "");

    waitForPreviews();
    EXPECT_EQ (shownFile (page().frontPreview), front);
    EXPECT_EQ (shownFile (page().backPreview), back);
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (AlbumPageTest, theSplitIsTheWindowsAndNotTheFrames)
{
    goToAlbumPage();
    const auto cover = picture ("cover.jpg");

    // Far left of the front frame, and between the frames left of 200: both the front.
    drop ({ cover.getFullPathName() }, 5, 300);
    EXPECT_EQ (project().frontCover, cover);
    const auto other = picture ("other.jpg");
    drop ({ other.getFullPathName() }, 420, 10);
    EXPECT_EQ (project().backCover, other);
}

TEST_F (AlbumPageTest, aDropOfThreeImagesTakesOnlyTheFirstByName)
{
    goToAlbumPage();
    const auto c = picture ("c cover.jpg");
    const auto a = picture ("a cover.PNG");
    const auto b = picture ("B cover.jpeg");

    drop ({ c.getFullPathName(), b.getFullPathName(), a.getFullPathName() }, 50);
    EXPECT_EQ (project().frontCover, a);
    EXPECT_EQ (project().backCover, juce::File());

    // Sorted ignoring case: "B" comes before "c".
    drop ({ c.getFullPathName(), b.getFullPathName() }, 300);
    EXPECT_EQ (project().backCover, b);
}

TEST_F (AlbumPageTest, aDropOfATextFileAndAPictureTakesThePictureWhateverTheCaseOfItsEnding)
{
    goToAlbumPage();
    const auto text = makeFile (folder, "a notes.txt", "liner notes");
    const auto cover = picture ("z cover.JpEg");

    drop ({ text.getFullPathName(), cover.getFullPathName() }, 20);
    EXPECT_EQ (project().frontCover, cover);

    const auto upper = picture ("y back.JPG");
    drop ({ upper.getFullPathName(), text.getFullPathName() }, 250);
    EXPECT_EQ (project().backCover, upper);
}

TEST_F (AlbumPageTest, aDropWithNoPictureChangesNothing)
{
    goToAlbumPage();
    const auto text = makeFile (folder, "notes.txt", "liner notes");
    const auto sound = makeFile (folder, "track.wav", "RIFF");
    const auto lookalike = makeFile (folder, "cover.jpg.txt", "no");

    drop ({ text.getFullPathName(), sound.getFullPathName(), lookalike.getFullPathName() }, 20);
    EXPECT_EQ (project().frontCover, juce::File());
    EXPECT_EQ (page().frontHint.getText(), "Drag'n'drop\nfront cover\nhere");
    EXPECT_EQ (project().trackCount(), 0);
}

TEST_F (AlbumPageTest, aDroppedPictureThatIsGoneIsIgnored)
{
    goToAlbumPage();
    drop ({ folder.getChildFile ("gone.jpg").getFullPathName() }, 20);
    EXPECT_EQ (project().frontCover, juce::File());
    EXPECT_EQ (page().frontHint.getText(), "Drag'n'drop\nfront cover\nhere");

    page().setBackCover ("relative/cover.png");
    EXPECT_EQ (project().backCover, juce::File());
}

TEST_F (AlbumPageTest, aPictureDroppedOnAnotherPageIsNotACover)
{
    const auto cover = picture ("cover.png");
    drop ({ cover.getFullPathName() }, 20);
    EXPECT_EQ (project().frontCover, juce::File());

    next();
    ASSERT_EQ (MainComponent::currentPage, 1);
    drop ({ cover.getFullPathName() }, 300);
    EXPECT_EQ (project().backCover, juce::File());
}

TEST_F (AlbumPageTest, aCoverThatIsNoPictureLeavesThePreviewEmptySilentlyAndStaysSet)
{
    goToAlbumPage();
    const auto fake = makeFile (folder, "cover.jpg", "this is no picture at all");

    drop ({ fake.getFullPathName() }, 20);
    waitForPreviews();
    EXPECT_EQ (project().frontCover, fake);
    EXPECT_EQ (page().frontPreview.getFile(), fake);
    EXPECT_EQ (page().frontPreview.getThumbnail(), nullptr);
    EXPECT_EQ (page().frontHint.getText(), "");
    EXPECT_TRUE (dialogs.alerts().empty());

    // Nothing is drawn for it.
    const auto image = page().frontPreview.createComponentSnapshot (page().frontPreview.getLocalBounds());
    for (int y = 0; y < image.getHeight(); ++y)
        for (int x = 0; x < image.getWidth(); ++x)
            ASSERT_EQ (image.getPixelAt (x, y).getAlpha(), 0) << x << ", " << y;
}

TEST_F (AlbumPageTest, afterARefreshWithAFrontCoverOnlyBothPreviewsShowTheFront)
{
    goToAlbumPage();
    const auto front = picture ("front.png");
    drop ({ front.getFullPathName() }, 20);

    page().refresh();
    waitForPreviews();
    EXPECT_EQ (shownFile (page().frontPreview), front);
    EXPECT_EQ (shownFile (page().backPreview), front);
    EXPECT_EQ (project().backCover, juce::File());

    // The back hint had its text and keeps it, over the front picture, as the program does.
    EXPECT_EQ (page().backHint.getText(), "Drag'n'drop\nback cover\nhere");
    EXPECT_EQ (page().frontHint.getText(), "");
}

TEST_F (AlbumPageTest, aRefreshGivesTheBackPreviewTheFrontAndLeavesAnEmptyBackHintEmpty)
{
    goToAlbumPage();
    const auto front = picture ("front.png");
    const auto back = picture ("back.jpg");
    drop ({ front.getFullPathName() }, 20);
    drop ({ back.getFullPathName() }, 300);

    // The back picture is gone by the refresh: the back hint follows the front cover, which
    // the back preview shows, and stays empty.
    ASSERT_TRUE (back.deleteFile());
    page().refresh();
    waitForPreviews();
    EXPECT_EQ (shownFile (page().backPreview), front);
    EXPECT_EQ (page().backHint.getText(), "");
    EXPECT_EQ (project().backCover, back);
}

TEST_F (AlbumPageTest, aCoverGoneByTheRefreshBringsItsHintBackAndStaysSet)
{
    goToAlbumPage();
    const auto front = picture ("front.png");
    const auto back = picture ("back.png");
    drop ({ front.getFullPathName() }, 20);
    drop ({ back.getFullPathName() }, 300);
    waitForPreviews();
    ASSERT_EQ (page().frontHint.getText(), "");
    ASSERT_EQ (page().backHint.getText(), "");
    ASSERT_TRUE (front.deleteFile());

    // Both previews are given the front cover, which is gone: both hints come back, the back
    // one too, though the back picture is still there.
    page().refresh();
    EXPECT_EQ (page().frontHint.getText(), "Drag'n'drop\nfront cover\nhere");
    EXPECT_EQ (page().backHint.getText(), "Drag'n'drop\nback cover\nhere");
    EXPECT_EQ (project().frontCover, front);
    EXPECT_EQ (project().backCover, back);
    EXPECT_TRUE (back.existsAsFile());
}

TEST_F (AlbumPageTest, resetEmptiesEverythingAndBringsBothHintsBack)
{
    goToAlbumPage();
    auto& p = page();
    const auto front = picture ("front.png");
    const auto back = picture ("back.png");
    drop ({ front.getFullPathName() }, 20);
    drop ({ back.getFullPathName() }, 300);
    p.albumField.setText ("Album", true);
    p.artistField.setText ("Artist", true);
    p.yearField.setText ("1970", true);
    p.genreField.setText ("Rock", true);
    ASSERT_TRUE (waitUntil ([this] { return project().genre == "Rock"; }));
    waitForPreviews();
    ASSERT_EQ (p.frontHint.getText(), "");
    ASSERT_EQ (p.backHint.getText(), "");

    click (p.resetButton);
    EXPECT_EQ (project().album, "");
    EXPECT_EQ (project().artist, "");
    EXPECT_EQ (project().year, "");
    EXPECT_EQ (project().genre, "");
    EXPECT_EQ (project().frontCover, juce::File());
    EXPECT_EQ (project().backCover, juce::File());
    for (auto* field : { &p.albumField, &p.artistField, &p.yearField, &p.genreField })
        EXPECT_EQ (field->getText(), "");
    EXPECT_EQ (p.frontHint.getText(), "Drag'n'drop\nfront cover\nhere");
    EXPECT_EQ (p.backHint.getText(), "Drag'n'drop\nback cover\nhere");

    waitForPreviews();
    EXPECT_EQ (p.frontPreview.getThumbnail(), nullptr);
    EXPECT_EQ (p.backPreview.getThumbnail(), nullptr);

    // The pictures themselves are the user's and stay.
    EXPECT_TRUE (front.existsAsFile());
    EXPECT_TRUE (back.existsAsFile());
}

TEST_F (AlbumPageTest, thePageShowsTheProjectsCoverWhenBuilt)
{
    const auto front = picture ("front.png");
    wizard.reset();
    wizard = std::make_unique<MainComponent> (&window);
    wizard->setSize (435, 380);

    project().frontCover = front;
    AlbumPage fresh (&project());
    EXPECT_EQ (fresh.frontPreview.getFile(), front);
    EXPECT_EQ (fresh.backPreview.getFile(), front);
    EXPECT_EQ (fresh.frontHint.getText(), "Drag'n'drop\nfront cover\nhere");
}

TEST_F (AlbumPageTest, screenshotWithNoCovers)
{
    using namespace page_image;
    goToAlbumPage();
    runMessageLoopFor (20);
    EXPECT_TRUE (saveSnapshot (*wizard, "album-page-empty").existsAsFile());

    const auto shot = windowImage (*wizard);
    ASSERT_NE (page().getBanner(), nullptr);
    EXPECT_TRUE (showsBanner (shot, *page().getBanner()));
    EXPECT_TRUE (showsFootLine (shot));

    for (const int y : { 160, 190, 220, 250 })
    {
        SCOPED_TRACE (y);
        // The field, white to its right edge at 350, and the page beyond it.
        EXPECT_TRUE (filledWith (shot, { 300, y + 4, 48, 24 }, juce::Colours::white));
        EXPECT_TRUE (filledWith (shot, { 352, y + 4, 10, 24 }, windowBackground));
        // Its label ends at the label's right edge, left of the field: right-justified.
        const auto label = inkColumns (shot, { 32, y + 4, 110, 24 });
        EXPECT_GE (label.getStart(), 80);
        EXPECT_GE (label.getEnd(), 130);
        EXPECT_LE (label.getEnd(), 142);
    }

    // The hints, centred in the frames, whose outlines run down both sides of each.
    for (const int left : { 100, 220 })
    {
        SCOPED_TRACE (left);
        const auto hint = inkColumns (shot, { left, 90, 80, 40 });
        ASSERT_FALSE (hint.isEmpty());
        EXPECT_LE (std::abs ((hint.getStart() - left) - (left + 80 - hint.getEnd())), 2);
        EXPECT_TRUE (pixelIs (shot, left - 7, 110, juce::Colours::grey));
        EXPECT_TRUE (pixelIs (shot, left + 87, 110, juce::Colours::grey));
    }

    // Nothing drawn right of the fields.
    EXPECT_TRUE (filledWith (shot, { 360, 160, 70, 120 }, windowBackground));
}

TEST_F (AlbumPageTest, screenshotWithTwoCovers)
{
    using namespace page_image;
    goToAlbumPage();
    const auto front = picture ("front.png", 300, 300);
    const auto back = picture ("back.jpg", 60, 40);
    drop ({ front.getFullPathName() }, 20);
    drop ({ back.getFullPathName() }, 300);
    page().albumField.setText ("Kind of Blue", true);
    page().artistField.setText ("Miles Davis", true);
    page().yearField.setText ("1959", true);
    page().genreField.setText ("Jazz", true);
    waitForPreviews();
    runMessageLoopFor (20);

    EXPECT_TRUE (saveSnapshot (*wizard, "album-page-two-covers").existsAsFile());
    const auto shot = windowImage (*wizard);
    EXPECT_TRUE (showsBanner (shot, *page().getBanner()));
    EXPECT_TRUE (showsFootLine (shot));

    // The large front picture is reduced to the whole 80 by 80 preview at (100, 75), its
    // quarters in their places.
    EXPECT_TRUE (filledWith (shot, { 103, 78, 34, 34 }, juce::Colours::red, 8));
    EXPECT_TRUE (filledWith (shot, { 143, 78, 34, 34 }, juce::Colours::lime, 8));
    EXPECT_TRUE (filledWith (shot, { 103, 118, 34, 34 }, juce::Colours::blue, 8));
    EXPECT_TRUE (filledWith (shot, { 143, 118, 34, 34 }, juce::Colours::yellow, 8));

    // The small back picture keeps its 60 by 40, centred in its preview at (220, 75): from
    // (230, 95) to (290, 135), with the page around it.
    EXPECT_TRUE (filledWith (shot, { 232, 97, 26, 16 }, juce::Colours::red, 40));
    EXPECT_TRUE (filledWith (shot, { 262, 97, 26, 16 }, juce::Colours::lime, 40));
    EXPECT_TRUE (filledWith (shot, { 232, 117, 26, 16 }, juce::Colours::blue, 40));
    EXPECT_TRUE (filledWith (shot, { 262, 117, 26, 16 }, juce::Colours::yellow, 40));
    EXPECT_TRUE (filledWith (shot, { 221, 80, 8, 70 }, windowBackground));
    EXPECT_TRUE (filledWith (shot, { 291, 80, 8, 70 }, windowBackground));
    EXPECT_TRUE (filledWith (shot, { 230, 80, 60, 14 }, windowBackground));
    EXPECT_TRUE (filledWith (shot, { 230, 136, 60, 14 }, windowBackground));

    // The texts are in the fields, from their left; the rest of each field is white.
    for (const int y : { 160, 190, 220, 250 })
    {
        SCOPED_TRACE (y);
        const auto text = inkColumns (shot, { 151, y + 4, 198, 24 });
        ASSERT_FALSE (text.isEmpty());
        EXPECT_LE (text.getStart(), 160);
        EXPECT_TRUE (filledWith (shot, { text.getEnd() + 2, y + 4, 346 - text.getEnd(), 24 }, juce::Colours::white));
    }
}

//==============================================================================
class ThumbnailTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        folder = audiofiles::freshFolder ("thumbnails");
        preview.setBounds (0, 0, 80, 80);
    }

    juce::Image snapshot() { return preview.createComponentSnapshot (preview.getLocalBounds(), true, 1.0f); }

    juce::File folder;
    ThumbnailComponent preview;
};

TEST_F (ThumbnailTest, aNewFileIsLoadedAfterATimerOf100Milliseconds)
{
    const auto file = writePicture (folder.getChildFile ("a.png"), quarters (20, 20));

    preview.selectedFileChanged (file);
    EXPECT_TRUE (preview.isTimerRunning());
    EXPECT_EQ (preview.getTimerInterval(), 100);
    EXPECT_EQ (preview.getThumbnail(), nullptr);

    for (int i = 0; i < 1000 && preview.isTimerRunning(); ++i)
        runMessageLoopFor (10);
    ASSERT_NE (preview.getThumbnail(), nullptr);
    EXPECT_EQ (preview.getThumbnail()->getWidth(), 20);

    // The same file again starts nothing.
    preview.selectedFileChanged (file);
    EXPECT_FALSE (preview.isTimerRunning());
}

TEST_F (ThumbnailTest, aQuickRunOfChangesLoadsOnlyTheLast)
{
    /** A preview that notes each file its timer loads, and what it showed just before. */
    struct LoadCounting : ThumbnailComponent
    {
        void timerCallback() override
        {
            loaded.push_back (getFile());
            ThumbnailComponent::timerCallback();
        }
        std::vector<juce::File> loaded;
    } counting;
    counting.setBounds (0, 0, 80, 80);

    const auto first = writePicture (folder.getChildFile ("first.png"), quarters (20, 20));
    const auto second = writePicture (folder.getChildFile ("second.png"), quarters (30, 10));
    const auto third = writePicture (folder.getChildFile ("third.png"), quarters (40, 10));

    counting.selectedFileChanged (first);
    counting.selectedFileChanged (second);
    counting.selectedFileChanged (third);
    EXPECT_EQ (counting.getThumbnail(), nullptr);
    EXPECT_TRUE (counting.isTimerRunning());

    // Watched the whole while: the picture shown is never one of the earlier files.
    for (int i = 0; i < 1000 && counting.isTimerRunning(); ++i)
    {
        runMessageLoopFor (2);
        if (const auto* shown = counting.getThumbnail())
        {
            EXPECT_EQ (shown->getWidth(), 40);
        }
    }

    EXPECT_EQ (counting.loaded, std::vector<juce::File> ({ third }));
    ASSERT_NE (counting.getThumbnail(), nullptr);
    EXPECT_EQ (counting.getThumbnail()->getWidth(), 40);
    EXPECT_EQ (counting.getFile(), third);

    // Nothing more is loaded afterwards.
    runMessageLoopFor (250);
    EXPECT_EQ (counting.loaded.size(), 1u);
}

TEST_F (ThumbnailTest, aSmallPictureIsDrawnCentredAtItsOwnSize)
{
    const auto file = writePicture (folder.getChildFile ("small.png"), quarters (40, 20));
    preview.selectedFileChanged (file);
    loadNow (preview);
    ASSERT_NE (preview.getThumbnail(), nullptr);

    // Placement 292 is centred both ways and only ever reduced.
    const juce::RectanglePlacement placement (292);
    EXPECT_EQ (placement.getFlags(), juce::RectanglePlacement::xMid | juce::RectanglePlacement::yMid |
                                         juce::RectanglePlacement::onlyReduceInSize);
    const auto area = placement.appliedTo (juce::Rectangle<int> (0, 0, 40, 20), preview.getLocalBounds());
    EXPECT_EQ (area, juce::Rectangle<int> (20, 30, 40, 20));

    const auto image = snapshot();
    EXPECT_TRUE (near (image.getPixelAt (21, 31), juce::Colours::red));
    EXPECT_TRUE (near (image.getPixelAt (38, 38), juce::Colours::red));
    EXPECT_TRUE (near (image.getPixelAt (41, 31), juce::Colours::lime));
    EXPECT_TRUE (near (image.getPixelAt (58, 38), juce::Colours::lime));
    EXPECT_TRUE (near (image.getPixelAt (21, 41), juce::Colours::blue));
    EXPECT_TRUE (near (image.getPixelAt (58, 48), juce::Colours::yellow));

    // Nothing outside the picture's own size: it is not enlarged to the 80 by 80 box.
    for (int y = 0; y < 80; ++y)
    {
        for (int x = 0; x < 80; ++x)
        {
            if (! area.contains (x, y))
            {
                ASSERT_EQ (image.getPixelAt (x, y).getAlpha(), 0) << x << ", " << y;
            }
        }
    }
}

TEST_F (ThumbnailTest, aLargePictureIsReducedToFitAndCentred)
{
    const auto file = writePicture (folder.getChildFile ("large.jpg"), quarters (320, 160));
    preview.selectedFileChanged (file);
    loadNow (preview);
    ASSERT_NE (preview.getThumbnail(), nullptr);
    EXPECT_EQ (preview.getThumbnail()->getWidth(), 320);

    const auto area =
        juce::RectanglePlacement (292).appliedTo (juce::Rectangle<int> (0, 0, 320, 160), preview.getLocalBounds());
    EXPECT_EQ (area, juce::Rectangle<int> (0, 20, 80, 40));

    const auto image = snapshot();
    EXPECT_TRUE (near (image.getPixelAt (10, 25), juce::Colours::red));
    EXPECT_TRUE (near (image.getPixelAt (70, 25), juce::Colours::lime));
    EXPECT_TRUE (near (image.getPixelAt (10, 55), juce::Colours::blue));
    EXPECT_TRUE (near (image.getPixelAt (70, 55), juce::Colours::yellow));
    for (int x = 0; x < 80; ++x)
    {
        ASSERT_EQ (image.getPixelAt (x, 18).getAlpha(), 0) << x;
        ASSERT_EQ (image.getPixelAt (x, 61).getAlpha(), 0) << x;
    }
}

TEST_F (ThumbnailTest, aFileThatIsNoPictureOrNoFileShowsNothing)
{
    const auto text = makeFile (folder, "cover.png", "not a picture");
    preview.selectedFileChanged (text);
    loadNow (preview);
    EXPECT_EQ (preview.getThumbnail(), nullptr);
    EXPECT_EQ (preview.getFile(), text);

    // A picture shown before goes when the next file fails.
    const auto good = writePicture (folder.getChildFile ("good.png"), quarters (10, 10));
    preview.selectedFileChanged (good);
    loadNow (preview);
    ASSERT_NE (preview.getThumbnail(), nullptr);
    preview.selectedFileChanged (folder.getChildFile ("missing.png"));
    loadNow (preview);
    EXPECT_EQ (preview.getThumbnail(), nullptr);

    preview.selectedFileChanged (folder);
    loadNow (preview);
    EXPECT_EQ (preview.getThumbnail(), nullptr);
}
