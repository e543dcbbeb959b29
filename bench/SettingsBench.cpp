// Loading the settings file as the program does at its start: the guard's look at the file, its
// rewrite where the file is damaged, and the load itself; for a plain file and for damaged files
// near the size limit.
#include "BenchSupport.h"
#include "project/SettingsFileGuard.h"

#include <benchmark/benchmark.h>

#include <functional>

namespace
{
juce::MemoryBlock settingsText (const std::function<void (juce::MemoryOutputStream&)>& body)
{
    juce::MemoryOutputStream text;
    text << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<PROPERTIES>\n";
    body (text);
    text << "</PROPERTIES>\n";
    return text.getMemoryBlock();
}

juce::MemoryBlock plain()
{
    return settingsText (
        [] (juce::MemoryOutputStream& text)
        {
            for (const auto* key : { "threshold", "outputformat", "minsilence", "silencelength", "keep_waves" })
                text << "  <VALUE name=\"" << key << "\" val=\"1\"/>\n";
        });
}

/** One element with 200,000 attributes, each of a name of its own. */
juce::MemoryBlock attributeNames()
{
    return settingsText (
        [] (juce::MemoryOutputStream& text)
        {
            text << "  <VALUE name=\"threshold\" val=\"-30\"";
            for (int i = 0; i < 200000; ++i)
                text << " a" << i << "=\"" << i << "\"";
            text << "/>\n";
        });
}

/** One element with one attribute name 200,000 times. */
juce::MemoryBlock sameAttribute()
{
    return settingsText (
        [] (juce::MemoryOutputStream& text)
        {
            text << "  <VALUE name=\"threshold\" val=\"-30\"";
            for (int i = 0; i < 200000; ++i)
                text << " x=\"" << i << "\"";
            text << "/>\n";
        });
}

/** 200,000 values of names of their own. */
juce::MemoryBlock values()
{
    return settingsText (
        [] (juce::MemoryOutputStream& text)
        {
            for (int i = 0; i < 200000; ++i)
                text << "  <VALUE name=\"key" << i << "\" val=\"" << i << "\"/>\n";
        });
}

void loadSettings (benchmark::State& state, const juce::MemoryBlock& content)
{
    const auto file = benchsupport::benchFolder().getChildFile ("bench.settings");

    juce::PropertiesFile::Options options;
    options.ignoreCaseOfKeyNames = true;
    options.storageFormat = juce::PropertiesFile::storeAsXML;
    options.millisecondsBeforeSaving = -1;

    for (auto _ : state)
    {
        state.PauseTiming();
        file.replaceWithData (content.getData(), content.getSize());
        state.ResumeTiming();

        juce::PropertiesFile settings (SettingsFileGuard::makeSafe (file), options);
        benchmark::DoNotOptimize (settings.getIntValue ("threshold"));
    }

    state.counters["bytes"] = (double) content.getSize();
    file.deleteFile();
}
} // namespace

BENCHMARK_CAPTURE (loadSettings, plain, plain())->Unit (benchmark::kMillisecond);
BENCHMARK_CAPTURE (loadSettings, attributeNames200000, attributeNames())->Unit (benchmark::kMillisecond);
BENCHMARK_CAPTURE (loadSettings, sameAttribute200000, sameAttribute())->Unit (benchmark::kMillisecond);
BENCHMARK_CAPTURE (loadSettings, values200000, values())->Unit (benchmark::kMillisecond);
