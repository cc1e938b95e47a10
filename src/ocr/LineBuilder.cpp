#include "ocr/LineBuilder.h"

#include <cmath>
#include <cstdlib>
#include <limits>
#include <numeric>
#include <utility>

#include "ocr/FixedPitch.h"
#include "ocr/Glyphs.h"

namespace zqlogging::ocr {
namespace {

// All in heights of a line's capitals, where nothing else is said.

/// The widest gap inside a line, and inside one of fixed pitch (in pitches, from middle to middle).
constexpr double kMaxGap = 1.15;
constexpr double kMaxFixedStep = 2.4;
/// In no line is a gap wider than this.
constexpr int kLargestGap = 2;
/// How much higher than its highest letter a line may be, and how much higher one letter than the other.
constexpr double kMaxLineHeight = 1.7;
constexpr double kMaxLetterRatio = 1.6;
/// Across a wider gap a change of the surface ends a line; words go on over it (a selection, a patterned background).
constexpr double kSurfaceGap = 0.62;
/// Colours further apart than this are different surfaces.
constexpr int kSurfaceStep = 24;
/// The columns within which a letter's neighbours are looked for, in pixels.
constexpr int kReach = 120;
/// How far above and below a line its marks may be.
constexpr double kMarkAbove = 0.45, kMarkBelow = 0.35;

/// The part of a line's usual height that must be left of one cut by the picture's edge.
constexpr double kMinLeftOver = 0.75;

/// The gap between an icon and the text beside it, and inside a line of fixed pitch or between two texts.
constexpr double kIconGap = 0.25, kWideIconGap = 0.6;
/// Fewer letters may be as far from each other by chance.
constexpr std::size_t kMinFixed = 8;
constexpr int kNothingBeside = std::numeric_limits<int>::max();

}  // namespace

LineBuilder::LineBuilder(const Segmentation& picture, const GrayPlane& barriers, const std::vector<ShapeKind>& kinds)
    : background_(picture.background),
      shapes_(picture.components),
      labels_(picture.components.labels),
      components_(picture.components.all),
      barriers_(barriers),
      kinds_(kinds) {}

std::vector<TextLine> LineBuilder::build() {
  joinLetters();
  attachMarks();
  joinPieces();
  std::vector<TextLine> lines;
  for (const Draft& draft : drafts_) {
    splitAtIcons(draft, lines);
  }
  dropStrays(lines);
  return lines;
}

/// Whether a line cannot go on from one box to the other: a rule or another surface lies between them.
bool LineBuilder::isSeparated(const PixelBox& a, const PixelBox& b, int letterHeight) const {
  const PixelBox& left = a.x <= b.x ? a : b;
  const PixelBox& right = a.x <= b.x ? b : a;
  int top = std::max(a.y, b.y);
  int bottom = std::min(a.bottom(), b.bottom());
  if (bottom <= top) {
    top = std::min(a.y, b.y);
    bottom = std::max(a.bottom(), b.bottom());
  }
  const bool apart = columnsBetween(a, b) > kSurfaceGap * letterHeight;
  const Colour surface = background_.at(left.x + left.width / 2, left.y + left.height / 2);
  for (int x = left.right(); x < right.x; ++x) {
    int blocked = 0;
    for (int y = top; y < bottom; ++y) {
      blocked += barriers_.at(x, y) || (apart && colourDistance(surface, background_.at(x, y)) > kSurfaceStep);
    }
    if (blocked * 10 >= (bottom - top) * 6) {
      return true;
    }
  }
  return false;
}

double LineBuilder::pitchOf(const Draft& draft) const {
  std::vector<PixelBox> glyphs;
  for (const Cluster& cluster : clustersOf(draft.members)) {
    glyphs.push_back(cluster.box);
  }
  return fixedPitch(glyphs, draft.letterHeight);
}

/// Joins letters to words and words to lines, the nearest first, so that each join knows the size of its letters.
void LineBuilder::joinLetters() {
  std::vector<int> letters;
  for (int i = 0; i < static_cast<int>(components_.size()); ++i) {
    if (kinds_[i] == ShapeKind::letter) {
      letters.push_back(i);
    }
  }
  std::sort(letters.begin(), letters.end(), [&](int a, int b) { return box(a).x < box(b).x; });
  struct Pair {
    int gap;
    std::size_t left, right;
  };
  std::vector<Pair> pairs;
  for (std::size_t i = 0; i < letters.size(); ++i) {
    const PixelBox& a = box(letters[i]);
    drafts_.push_back({a, a.height, {letters[i]}});
    for (std::size_t j = i + 1; j < letters.size() && box(letters[j]).x - a.x <= kReach; ++j) {
      const PixelBox& b = box(letters[j]);
      if (commonRows(a, b) * 2 >= std::min(a.height, b.height)) {
        pairs.push_back({columnsBetween(a, b), i, j});
      }
    }
  }
  std::stable_sort(pairs.begin(), pairs.end(), [](const Pair& a, const Pair& b) { return a.gap < b.gap; });

  std::vector<std::size_t> parents(drafts_.size());
  std::iota(parents.begin(), parents.end(), std::size_t{0});
  const auto root = [&](std::size_t i) {
    while (parents[i] != i) {
      i = parents[i] = parents[parents[i]];
    }
    return i;
  };
  for (const Pair& pair : pairs) {
    const std::size_t i = root(pair.left);
    const std::size_t j = root(pair.right);
    if (i != j && join(drafts_[i], drafts_[j], box(letters[pair.left]), box(letters[pair.right]))) {
      parents[j] = i;
    }
  }
  std::erase_if(drafts_, [](const Draft& draft) { return draft.members.empty(); });
}

/// Moves b's members to a when both belong to one line; `left` and `right` are the letters that face each other.
bool LineBuilder::join(Draft& a, Draft& b, const PixelBox& left, const PixelBox& right) const {
  if (commonRows(a.box, b.box) * 2 < std::min(a.box.height, b.box.height)) {
    return false;
  }
  const auto [small, large] = std::minmax(a.letterHeight, b.letterHeight);
  const PixelBox both = unite(a.box, b.box);
  if (both.height > kMaxLineHeight * large) {
    return false;
  }
  const int gap = columnsBetween(a.box, b.box);
  if (gap > kMaxGap * std::min<double>(large, small * kMaxLetterRatio)) {
    if (gap > kLargestGap * large) {
      return false;
    }
    const double pitch = std::max(pitchOf(a), pitchOf(b));
    if (std::abs(right.middle() - left.middle()) > kMaxFixedStep * pitch) {
      return false;
    }
  }
  if (isSeparated(left, right, large)) {
    return false;
  }
  a.box = both;
  a.letterHeight = large;
  a.members.insert(a.members.end(), b.members.begin(), b.members.end());
  b.members.clear();
  return true;
}

/// Gives dots, commas, hyphens, quotes and accents to the line that they are nearest to: from the left and then from
/// the right, so that a row of them follows its first or its last one.
void LineBuilder::attachMarks() {
  std::vector<int> marks;
  for (int i = 0; i < static_cast<int>(components_.size()); ++i) {
    const bool cut = box(i).y == 0 || box(i).bottom() == labels_.height;  // of the next line
    if (kinds_[i] == ShapeKind::mark && !cut) {
      marks.push_back(i);
    }
  }
  std::sort(marks.begin(), marks.end(), [&](int a, int b) { return box(a).x < box(b).x; });
  std::erase_if(marks, [&](int mark) { return attach(mark); });
  std::for_each(marks.rbegin(), marks.rend(), [&](int mark) { attach(mark); });
}

bool LineBuilder::attach(int mark) {
  const PixelBox& place = box(mark);
  const double middleRow = place.y + place.height / 2.0;
  Draft* nearest = nullptr;
  double nearestDistance = std::numeric_limits<double>::max();
  for (Draft& draft : drafts_) {
    const int gap = std::max(0, columnsBetween(draft.box, place));
    const double height = draft.letterHeight;
    const double above = draft.box.y - middleRow;
    const double below = middleRow - draft.box.bottom();
    if (gap > kMaxGap * height || place.width > 2 * height || above > kMarkAbove * height ||
        below > kMarkBelow * height) {
      continue;
    }
    const double distance = gap + 3 * std::max({0.0, above, below});
    if (distance >= nearestDistance || isSeparated(draft.box, place, draft.letterHeight)) {
      continue;
    }
    nearest = &draft;
    nearestDistance = distance;
  }
  if (!nearest) {
    return false;
  }
  nearest->box = unite(nearest->box, place);
  nearest->members.push_back(mark);
  return true;
}

/// Joins pieces of a line between which a mark has narrowed the gap (a colon, and the word behind it).
void LineBuilder::joinPieces() {
  const auto edge = [&](const Draft& draft, bool rightmost) {
    const auto before = [&](int i, int j) { return rightmost ? box(i).right() > box(j).right() : box(i).x < box(j).x; };
    const PixelBox& member = box(*std::min_element(draft.members.begin(), draft.members.end(), before));
    return PixelBox{member.x, draft.box.y, member.width, draft.box.height};
  };
  bool joined = true;
  while (joined) {
    joined = false;
    for (Draft& a : drafts_) {
      for (Draft& b : drafts_) {
        if (&a == &b || a.members.empty() || b.members.empty() || a.box.x > b.box.x) {
          continue;
        }
        if (columnsBetween(a.box, b.box) > kLargestGap * std::max(a.letterHeight, b.letterHeight)) {
          continue;
        }
        if (commonRows(a.box, b.box) <= 0) {
          continue;
        }
        joined |= join(a, b, edge(a, true), edge(b, false));
      }
    }
  }
  std::erase_if(drafts_, [](const Draft& draft) { return draft.members.empty(); });
}

std::vector<LineBuilder::Cluster> LineBuilder::clustersOf(std::vector<int> members) const {
  std::sort(members.begin(), members.end(),
            [&](int a, int b) { return std::pair(box(a).x, box(a).y) < std::pair(box(b).x, box(b).y); });
  std::vector<Cluster> clusters;
  for (const int i : members) {
    if (!clusters.empty() && box(i).x < clusters.back().box.right()) {
      clusters.back().box = unite(clusters.back().box, box(i));
      clusters.back().members.push_back(i);
    } else {
      clusters.push_back({box(i), {i}});
    }
  }
  return clusters;
}

LineBuilder::Extent LineBuilder::measure(const std::vector<int>& members) const {
  std::vector<PixelBox> letters;
  for (const int i : members) {
    if (kinds_[i] == ShapeKind::letter) {
      letters.push_back(box(i));
    }
  }
  if (letters.empty()) {
    PixelBox all = box(members.front());
    for (const int i : members) {
      all = unite(all, box(i));
    }
    return {all.y, all.bottom()};
  }
  // The highest top may be that of a bracket or a slash: where there are many letters, the next one counts.
  std::sort(letters.begin(), letters.end(), [](const PixelBox& a, const PixelBox& b) { return a.y < b.y; });
  const int top = letters[letters.size() < 4 ? 0 : 1].y;
  // Letters that reach up there have no descenders: most of them stand on the baseline.
  std::vector<int> bottoms;
  for (const PixelBox& letter : letters) {
    if (letter.y <= top + 1) {
      bottoms.push_back(letter.bottom());
    }
  }
  std::sort(bottoms.begin(), bottoms.end());
  const int middle = (top + bottoms.back()) / 2;
  for (const int bottom : bottoms) {
    const auto sharing = std::count(bottoms.begin(), bottoms.end(), bottom);
    if (bottom > middle && sharing * 3 >= static_cast<std::ptrdiff_t>(bottoms.size())) {
      return {top, bottom};
    }
  }
  return {top, bottoms[bottoms.size() / 2]};
}

/// Makes a line of the draft's members, or several, with the icons between and beside them left out.
void LineBuilder::splitAtIcons(const Draft& draft, std::vector<TextLine>& lines) const {
  const std::vector<Cluster> clusters = clustersOf(draft.members);
  const bool fixed = clusters.size() >= kMinFixed && pitchOf(draft) > 0;
  const Extent whole = measure(draft.members);
  auto begin = clusters.begin();
  for (auto cluster = clusters.begin(); cluster != clusters.end() && clusters.size() > 1; ++cluster) {
    const bool last = std::next(cluster) == clusters.end();
    const int before = cluster == clusters.begin() ? kNothingBeside : cluster->box.x - std::prev(cluster)->box.right();
    const int behind = last ? kNothingBeside : std::next(cluster)->box.x - cluster->box.right();
    Extent rest = whole;
    if (cluster == begin || last) {
      std::vector<int> others;
      for (const Cluster& other : clusters) {
        if (&other != &*cluster) {
          others.insert(others.end(), other.members.begin(), other.members.end());
        }
      }
      rest = measure(others);
    }
    if (!isIcon(cluster->box, before, behind, rest, fixed)) {
      continue;
    }
    if (begin != cluster) {
      lines.push_back(makeLine(begin, cluster));
    }
    begin = std::next(cluster);
  }
  if (begin != clusters.end()) {
    lines.push_back(makeLine(begin, clusters.end()));
  }
}

/// Whether something in a line is a picture: set apart from the text, and not standing in its row as letters do.
bool LineBuilder::isIcon(const PixelBox& box, int before, int behind, Extent rest, bool fixed) {
  const double height = rest.baseline - rest.top;
  const bool first = before == kNothingBeside;
  const bool end = first || behind == kNothingBeside;
  const int gap = std::min(before, behind);
  if (gap < (end && !fixed ? kIconGap : kWideIconGap) * height) {
    return false;
  }
  const int above = rest.top - box.y;
  const int below = box.bottom() - rest.baseline;
  if (box.width >= 0.6 * box.height && above >= 1 && below >= 1) {
    return true;
  }
  if (fixed) {
    return false;
  }
  // As high as the letters, but as wide as high, and further from the text than a word.
  const bool square = box.width >= 0.75 * box.height && box.width <= 1.45 * box.height;
  if (first && square && box.height >= 0.99 * height && behind >= kWideIconGap * height) {
    return true;
  }
  // A bullet: a dot at half height before everything else.
  const bool small = std::max(box.width, box.height) <= 0.6 * height && box.height >= 3;
  return first && small && std::abs(box.width - box.height) <= 1 && above < -0.25 * height && below <= -1 &&
         gap >= 0.4 * height;
}

TextLine LineBuilder::makeLine(std::vector<Cluster>::const_iterator begin,
                               std::vector<Cluster>::const_iterator end) const {
  TextLine line;
  line.box = begin->box;
  for (auto cluster = begin; cluster != end; ++cluster) {
    line.box = unite(line.box, cluster->box);
    line.components.insert(line.components.end(), cluster->members.begin(), cluster->members.end());
  }
  const Extent extent = measure(line.components);
  line.top = extent.top;
  line.baseline = extent.baseline;
  return line;
}

/// Drops single shapes that no line of the picture makes likely to be letters (ticks, rings, separators, handles), and
/// lines of which the picture's edge has left too little to read.
void LineBuilder::dropStrays(std::vector<TextLine>& lines) const {
  std::vector<TextLine> sure;
  std::copy_if(lines.begin(), lines.end(), std::back_inserter(sure), [&](const TextLine& line) {
    return line.components.size() >= 3 && line.box.width > line.box.height && !isCut(line);
  });
  std::vector<int> heights;
  for (const TextLine& line : sure) {
    heights.push_back(line.height());
  }
  const auto usual = heights.begin() + static_cast<std::ptrdiff_t>(heights.size() / 2);
  if (!heights.empty()) {
    std::nth_element(heights.begin(), usual, heights.end());
  }
  std::erase_if(lines, [&](const TextLine& line) {
    if (!heights.empty() && isCut(line) && line.box.height < kMinLeftOver * *usual) {
      return true;
    }
    return isStray(line, sure);
  });
}

bool LineBuilder::isCut(const TextLine& line) const { return line.box.y == 0 || line.box.bottom() == labels_.height; }

bool LineBuilder::isStray(const TextLine& line, const std::vector<TextLine>& sure) const {
  const PixelBox& place = line.box;
  if (std::all_of(line.components.begin(), line.components.end(),
                  [&](int i) { return kinds_[i] == ShapeKind::mark; })) {
    return true;
  }
  if (place.width > 1.35 * place.height) {
    return false;
  }
  const bool bar = place.width <= 3 && place.height > 2 * place.width;
  if (sure.empty()) {
    return bar;
  }
  const bool plus = line.components.size() == 1 && isPlus(shapes_, line.components.front());
  bool beside = false;
  bool likeOneBeside = false;
  bool likeAnother = false;
  for (const TextLine& other : sure) {
    const double height = other.baseline - other.top;
    if (place.height < 0.8 * height && !plus) {
      continue;
    }
    likeAnother |= place.height >= 0.62 * height && place.height <= 1.2 * height;
    if (commonRows(place, other.box) * 2 < place.height) {
      continue;
    }
    beside = true;
    const bool inRow =
        place.y >= other.top - 1 && place.bottom() <= other.baseline + 1 && place.height >= 0.55 * height;
    likeOneBeside |= bar ? inRow && place.bottom() == other.baseline && place.height >= height - 0.5 : inRow;
  }
  return beside ? !likeOneBeside : bar || !likeAnother;
}

}  // namespace zqlogging::ocr
