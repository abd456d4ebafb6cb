#include "Model/DisplayState.h"

RGBColor color(TimeThreshold threshold, const AppSettings& settings)
{
    if (!settings.useThresholdColors || threshold == TimeThreshold::normal)
        return settings.textColor;
    return threshold == TimeThreshold::red ? settings.redColor : settings.amberColor;
}
