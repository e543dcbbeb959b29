// The song finder on its own: the envelope it keeps, where it puts a cut, clicks, soft
// passages, and what it answers for more songs than the side has places for.
#include "editing/SongFinder.h"

#include "RecordSides.h"

#include <gtest/gtest.h>

using namespace recordsides;

namespace
{
/** The finder after hearing the side, in blocks of an odd size. */
std::unique_ptr<SongFinder> hear (const Side& side)
{
    auto finder = std::make_unique<SongFinder> (side.rate);
    const juce::int64 block = 5000;
    for (juce::int64 i = 0; i < side.frames(); i += block)
    {
        const int n = (int) juce::jmin (block, side.frames() - i);
        finder->addBlock (side.left.data() + i, side.right.data() + i, n);
    }
    return finder;
}

SideSpec twoSongs (double gap)
{
    SideSpec spec;
    spec.name = "two songs";
    spec.noiseDb = -55.0;
    spec.songs = { Song{ 9.0, -18.0 }, Song{ 9.0, -18.0 } };
    spec.gaps = { gap };
    spec.seed = 11;
    return spec;
}
} // namespace

TEST (SongFinder, keepsFourBytesOfEnvelopeForEvery20MillisecondsAndNoAudio)
{
    SongFinder finder (44100.0);
    EXPECT_EQ (finder.getStepFrames(), 880);

    // A minute of groove, heard in blocks.
    SurfaceNoise groove (44100.0, -50.0, 3.0, 5);
    std::vector<float> left (44100), right (44100);
    for (int second = 0; second < 60; ++second)
    {
        std::fill (left.begin(), left.end(), 0.0f);
        std::fill (right.begin(), right.end(), 0.0f);
        groove.addTo (left.data(), right.data(), 44100);
        finder.addBlock (left.data(), right.data(), 44100);
    }

    EXPECT_EQ (finder.getFramesHeard(), 60 * 44100);
    // Room for a half-hour side is held from the start, and that is all: 90 000 steps.
    EXPECT_LE (finder.getEnvelopeBytes(), 91000u * sizeof (float));
    EXPECT_GE (finder.getEnvelopeBytes(), 3000u * sizeof (float));
}

TEST (SongFinder, integerAndFloatSamplesGiveTheSameCuts)
{
    const auto side = render (twoSongs (2.0));
    const auto fromFloats = hear (side);

    SongFinder fromIntegers (side.rate);
    std::vector<int> left ((size_t) side.frames()), right ((size_t) side.frames());
    for (size_t i = 0; i < left.size(); ++i)
    {
        left[i] = (int) std::lround (juce::jlimit (-1.0f, 1.0f, side.left[i]) * 2147483647.0);
        right[i] = (int) std::lround (juce::jlimit (-1.0f, 1.0f, side.right[i]) * 2147483647.0);
    }
    fromIntegers.addBlock (left.data(), right.data(), (int) left.size());

    EXPECT_EQ (fromFloats->findCuts (0), fromIntegers.findCuts (0));
    EXPECT_EQ (fromFloats->findCuts (2), fromIntegers.findCuts (2));
}

TEST (SongFinder, cutsHalfASecondBeforeTheNextSongInALongGap)
{
    const auto side = render (twoSongs (4.0));
    const auto cuts = hear (side)->findCuts (2);

    ASSERT_TRUE (cuts.has_value());
    ASSERT_EQ (cuts->size(), 1u);
    const double before = (double) (side.songs[1].start - cuts->front()) / side.rate;
    EXPECT_GT (before, 0.45);
    EXPECT_LT (before, 0.75);
    EXPECT_GT (cuts->front(), side.songs[0].end);
}

TEST (SongFinder, cutsNoLaterThanTheMiddleOfAShortGap)
{
    const auto side = render (twoSongs (0.8));
    const auto cuts = hear (side)->findCuts (2);

    ASSERT_TRUE (cuts.has_value());
    ASSERT_EQ (cuts->size(), 1u);
    EXPECT_GT (cuts->front(), side.songs[0].end);
    EXPECT_LT (cuts->front(), side.songs[1].start);
}

TEST (SongFinder, findsTheGapOnItsOwnDespitePopsInIt)
{
    auto spec = twoSongs (1.5);
    spec.clicksPerSecond = 40.0; // crackle everywhere, pops among it
    const auto side = render (spec);
    const auto cuts = hear (side)->findCuts (0);

    ASSERT_TRUE (cuts.has_value());
    ASSERT_EQ (cuts->size(), 1u);
    EXPECT_GT (cuts->front(), side.songs[0].end);
    EXPECT_LT (cuts->front(), side.songs[1].start);
}

TEST (SongFinder, aSoftPassageOrAQuietIntroIsNoGapOfItsOwn)
{
    SideSpec spec;
    spec.noiseDb = -50.0;
    spec.songs = { Song{ 20.0, -18.0, true, false, true, true } };
    spec.seed = 3;
    const auto side = render (spec);
    const auto finder = hear (side);

    const auto own = finder->findCuts (0);
    ASSERT_TRUE (own.has_value());
    EXPECT_TRUE (own->empty());

    // One song wants no cut at all.
    const auto one = finder->findCuts (1);
    ASSERT_TRUE (one.has_value());
    EXPECT_TRUE (one->empty());
}

TEST (SongFinder, withMoreSongsThanPlacesToCutThereIsNoResult)
{
    SideSpec spec;
    spec.noiseDb = -55.0;
    spec.songs = { Song{ 9.0, -18.0 }, Song{ 9.0, -18.0 }, Song{ 9.0, -18.0 } };
    spec.gaps = { 2.0, 2.0 };
    spec.seed = 21;
    const auto side = render (spec);
    const auto finder = hear (side);

    const int places = finder->countPlaces();
    EXPECT_GE (places, 2);
    EXPECT_LT (places, 6);
    EXPECT_FALSE (finder->findCuts (places + 2).has_value());
    EXPECT_FALSE (finder->findCuts (12).has_value());

    const auto three = finder->findCuts (3);
    ASSERT_TRUE (three.has_value());
    ASSERT_EQ (three->size(), 2u);
    EXPECT_GT ((*three)[0], side.songs[0].end);
    EXPECT_LT ((*three)[0], side.songs[1].start);
    EXPECT_GT ((*three)[1], side.songs[1].end);
    EXPECT_LT ((*three)[1], side.songs[2].start);
}

TEST (SongFinder, aSideOfNothingButGrooveHasNoPlaceToCut)
{
    SongFinder finder (44100.0);
    SurfaceNoise groove (44100.0, -60.0, 3.0, 9);
    std::vector<float> left (44100 * 20), right (44100 * 20);
    groove.addTo (left.data(), right.data(), (int) left.size());
    finder.addBlock (left.data(), right.data(), (int) left.size());

    EXPECT_EQ (finder.countPlaces(), 0);
    EXPECT_FALSE (finder.findCuts (2).has_value());
    ASSERT_TRUE (finder.findCuts (0).has_value());
    EXPECT_TRUE (finder.findCuts (0)->empty());
}

TEST (SongFinder, worksAtOtherRates)
{
    auto spec = twoSongs (2.0);
    spec.rate = 48000.0;
    const auto side = render (spec);
    const auto cuts = hear (side)->findCuts (0);

    ASSERT_TRUE (cuts.has_value());
    ASSERT_EQ (cuts->size(), 1u);
    EXPECT_GT (cuts->front(), side.songs[0].end);
    EXPECT_LT (cuts->front(), side.songs[1].start);
}
