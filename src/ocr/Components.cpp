#include "ocr/Components.h"

namespace zqlogging::ocr {

Components findComponents(const GrayPlane& mask, const GrayPlane& contrast) {
  const int width = mask.width, height = mask.height;
  Components found{Plane<int>(width, height, -1), {}};
  std::vector<int> parents;
  const auto root = [&](int i) {
    while (parents[i] != i) {
      i = parents[i] = parents[parents[i]];
    }
    return i;
  };
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      if (!mask.at(x, y)) {
        continue;
      }
      int label = -1;
      const auto join = [&](int nx, int ny) {
        if (!mask.contains(nx, ny) || found.labels.at(nx, ny) < 0) {
          return;
        }
        const int other = root(found.labels.at(nx, ny));
        if (label < 0) {
          label = other;
        } else {
          parents[std::max(label, other)] = std::min(label, other);
          label = std::min(label, other);
        }
      };
      join(x - 1, y);
      join(x - 1, y - 1);
      join(x, y - 1);
      join(x + 1, y - 1);
      if (label < 0) {
        label = static_cast<int>(parents.size());
        parents.push_back(label);
      }
      found.labels.at(x, y) = label;
    }
  }
  std::vector<int> numbers(parents.size(), -1);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      int& label = found.labels.at(x, y);
      if (label < 0) {
        continue;
      }
      int& number = numbers[root(label)];
      if (number < 0) {
        number = static_cast<int>(found.all.size());
        found.all.push_back({{x, y, 1, 1}, 0, 0});
      }
      Component& component = found.all[number];
      component.box = unite(component.box, {x, y, 1, 1});
      ++component.area;
      component.peak = std::max<int>(component.peak, contrast.at(x, y));
      label = number;
    }
  }
  return found;
}

}  // namespace zqlogging::ocr
