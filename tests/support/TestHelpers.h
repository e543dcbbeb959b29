#pragma once

#include <juce_events/juce_events.h>

/** Lets the message loop run: timers fire, asynchronous messages arrive. */
inline void runMessageLoopFor (int milliseconds)
{
    juce::MessageManager::getInstance()->runDispatchLoopUntil (milliseconds);
}

/** The temporary home folder of this test process. */
inline juce::File testHome()
{
    return juce::File (juce::SystemStats::getEnvironmentVariable ("GROOVESMITH_TEST_HOME", "/tmp"));
}
