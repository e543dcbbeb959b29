#include "app/MyJUCEApplication.h"

void MyJUCEApplication::initialise (const juce::String&)
{
    mainWindow = std::make_unique<MainDialog>();
    mainWindow->centreWithSize (435, 380);
    mainWindow->toFront (true);
}

void MyJUCEApplication::shutdown()
{
    mainWindow.reset();
}
