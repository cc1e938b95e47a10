#pragma once

#include <zqlogging/Pixels.h>

#include <string>

/// Reads a PNG file of any kind; what is transparent shows white. Throws std::runtime_error that names the file.
zqlogging::PixelBuffer readPicture(const std::string& path);

/// Writes a PNG file. Throws std::runtime_error that names it.
void writePicture(const std::string& path, const zqlogging::Bitmap& picture);
