#include "app/MyJUCEApplication.h"

START_JUCE_APPLICATION (MyJUCEApplication)
