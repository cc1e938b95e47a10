#pragma once

/// \file
/// Everything a host includes: the service, its delegate, and the desktop it records.

#include "zqlogging/Desktop.h"
#include "zqlogging/Detections.h"
#include "zqlogging/Diagnosis.h"
#include "zqlogging/EventDictionary.h"
#include "zqlogging/Geometry.h"
#include "zqlogging/Pixels.h"
#include "zqlogging/Recognition.h"
#include "zqlogging/Scenario.h"
#include "zqlogging/ZQAccessibilityWindowUtils.h"
#include "zqlogging/ZQDeveloperLogger.h"
#include "zqlogging/ZQLoggerDelegate.h"
#include "zqlogging/ZQLoggingervice.h"
#include "zqlogging/ZQUILogMouseMouveEvent.h"
