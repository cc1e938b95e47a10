#pragma once

#include <zqlogging/zqlogging.h>

#include <string>
#include <vector>

// The lines that tell what the host sees: one JSON object each with sorted keys, as docs/scenario-format.md has them.

std::string startLine(bool started);
std::string stoppedLine(bool delivered);
std::string clickLine(const std::string& name, const std::string& path, const std::string& url,
                      const std::vector<zqlogging::ZQTextDetection>& texts,
                      const std::vector<zqlogging::ZQRectangleDetection>& rectangles, zqlogging::CGPoint point,
                      bool isDown);
std::string blackListedLine(const std::string& name, const std::string& path, const std::string& url, bool flag);
std::string chunkLine(const std::vector<zqlogging::EventDictionary>& events, const std::string& text, bool isLast);

/// The element's description, and beside it its frame (null where it has none) in screen points from the top left.
std::string describeLine(const zqlogging::ElementDescription& description);

/// What the doctor has found, and what came of a repair.
const char* nameOf(zqlogging::Finding::Gravity gravity);
std::string findingLine(const zqlogging::Finding& finding);
std::string repairedLine(const zqlogging::Finding& finding, bool repaired);

/// What was read in a picture file, and how long that took.
std::string recognizedLine(const std::string& file, const std::vector<zqlogging::ZQTextDetection>& texts,
                           double milliseconds);

/// Prints a line at once and in one piece. Any thread. Throws std::system_error when the output is closed.
void printLine(const std::string& line);
