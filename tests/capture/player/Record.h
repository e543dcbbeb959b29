#pragma once

// A generated record: a run of segments (tones, noise, silence) described by one line of text,
// rendered the same way by the player that plays it and by the tests that check what was
// captured. Every sample is a whole 16-bit step, so that a capture without filters gives it
// back exactly.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace test_record
{
struct Segment
{
    enum class Kind
    {
        silence,
        tone,
        noise,
        clicks,
        pcm
    };

    Kind kind = Kind::silence;
    double leftFrequency = 0, rightFrequency = 0;       // tones
    std::int64_t clickSpacing = 0;                      // clicks: one click every this many frames
    double amplitude = 0;                               // the right channel of a tone is at 0.8 times
    std::uint64_t seed = 0;                             // noise
    std::shared_ptr<std::vector<std::int16_t>> samples; // pcm: left and right in turn
    std::int64_t start = 0, frames = 0;
};

class Record
{
public:
    /** Segments separated by commas: "silence:FRAMES", "tone:LEFT_HZ:RIGHT_HZ:AMPLITUDE:FRAMES",
        "noise:AMPLITUDE:SEED:FRAMES", and "clicks:HZ:AMPLITUDE:SPACING:FRAMES", a quiet tone on
        both channels with a click of three samples in the middle of every SPACING frames, as a
        worn record gives them, and "pcm:PATH", the samples of a file of 16-bit stereo frames (left
        and right in turn, little-endian), as the tests write a side of their generator into one;
        the path holds no comma and no colon. */
    Record (const std::string& description, double sampleRate)
        : rate (sampleRate)
    {
        std::stringstream list (description);
        std::string item;
        while (std::getline (list, item, ','))
        {
            std::vector<std::string> fields;
            std::stringstream parts (item);
            std::string field;
            while (std::getline (parts, field, ':'))
                fields.push_back (field);

            Segment segment;
            segment.start = length;
            if (fields.size() == 2 && fields[0] == "silence")
            {
                segment.frames = std::stoll (fields[1]);
            }
            else if (fields.size() == 5 && fields[0] == "tone")
            {
                segment.kind = Segment::Kind::tone;
                segment.leftFrequency = std::stod (fields[1]);
                segment.rightFrequency = std::stod (fields[2]);
                segment.amplitude = std::stod (fields[3]);
                segment.frames = std::stoll (fields[4]);
            }
            else if (fields.size() == 5 && fields[0] == "clicks")
            {
                segment.kind = Segment::Kind::clicks;
                segment.leftFrequency = segment.rightFrequency = std::stod (fields[1]);
                segment.amplitude = std::stod (fields[2]);
                segment.clickSpacing = std::stoll (fields[3]);
                segment.frames = std::stoll (fields[4]);
                if (segment.clickSpacing < 4)
                {
                    valid = false;
                    continue;
                }
            }
            else if (fields.size() == 2 && fields[0] == "pcm")
            {
                segment.kind = Segment::Kind::pcm;
                std::ifstream file (fields[1], std::ios::binary);
                const std::vector<char> bytes ((std::istreambuf_iterator<char> (file)),
                                               std::istreambuf_iterator<char>());
                segment.samples = std::make_shared<std::vector<std::int16_t>> (bytes.size() / 4 * 2);
                if (! segment.samples->empty())
                    std::memcpy (segment.samples->data(), bytes.data(), segment.samples->size() * 2);
                segment.frames = static_cast<std::int64_t> (segment.samples->size() / 2);
                if (segment.frames == 0)
                {
                    valid = false;
                    continue;
                }
            }
            else if (fields.size() == 4 && fields[0] == "noise")
            {
                segment.kind = Segment::Kind::noise;
                segment.amplitude = std::stod (fields[1]);
                segment.seed = std::stoull (fields[2]);
                segment.frames = std::stoll (fields[3]);
            }
            else
            {
                valid = false;
                continue;
            }

            length += segment.frames;
            segments.push_back (segment);
        }
    }

    bool isValid() const { return valid && length > 0; }
    std::int64_t getLength() const { return length; }
    const std::vector<Segment>& getSegments() const { return segments; }

    /** Frames [start, start + count) of both channels; zeros outside the record. */
    void render (std::int64_t start, int count, float* left, float* right) const
    {
        for (int i = 0; i < count; ++i)
        {
            const auto frame = start + i;
            left[i] = right[i] = 0.0f;

            if (frame < 0 || frame >= length)
                continue;

            while (current > 0 && frame < segments[current].start)
                --current;
            while (frame >= segments[current].start + segments[current].frames)
                ++current;

            const auto& segment = segments[current];
            const auto offset = frame - segment.start;

            if (segment.kind == Segment::Kind::tone)
            {
                const double t = static_cast<double> (offset) / rate;
                left[i] = quantise (segment.amplitude * std::sin (twoPi * segment.leftFrequency * t));
                right[i] = quantise (0.8 * segment.amplitude * std::sin (twoPi * segment.rightFrequency * t));
            }
            else if (segment.kind == Segment::Kind::clicks)
            {
                const double t = static_cast<double> (offset) / rate;
                double value = segment.amplitude * std::sin (twoPi * segment.leftFrequency * t);
                const auto inSpacing = offset % segment.clickSpacing - segment.clickSpacing / 2;
                if (inSpacing == 0)
                    value += 0.8;
                else if (inSpacing == 1)
                    value -= 0.6;
                else if (inSpacing == 2)
                    value += 0.5;
                left[i] = right[i] = quantise (value);
            }
            else if (segment.kind == Segment::Kind::pcm)
            {
                left[i] = static_cast<float> ((*segment.samples)[2 * static_cast<size_t> (offset)] / 32767.0);
                right[i] = static_cast<float> ((*segment.samples)[2 * static_cast<size_t> (offset) + 1] / 32767.0);
            }
            else if (segment.kind == Segment::Kind::noise)
            {
                left[i] = quantise (segment.amplitude * uniform (segment.seed, 2 * offset));
                right[i] = quantise (segment.amplitude * uniform (segment.seed, 2 * offset + 1));
            }
        }
    }

private:
    static constexpr double twoPi = 6.283185307179586476925286766559;

    static float quantise (double value)
    {
        const auto step = static_cast<long> (std::lround (value * 32767.0));
        return static_cast<float> (static_cast<double> (step) / 32767.0);
    }

    /** A reproducible value in [-1, 1) for each (seed, index). */
    static double uniform (std::uint64_t seed, std::int64_t index)
    {
        std::uint64_t z = seed * 0x9E3779B97F4A7C15ull + static_cast<std::uint64_t> (index) + 0x632BE59BD9B4E019ull;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        z = z ^ (z >> 31);
        return static_cast<double> (z >> 11) / 4503599627370496.0 - 1.0;
    }

    double rate;
    std::vector<Segment> segments;
    std::int64_t length = 0;
    bool valid = true;
    mutable size_t current = 0;
};
} // namespace test_record
