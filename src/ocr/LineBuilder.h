#pragma once

#include <vector>

#include "ocr/LineSegmentation.h"

namespace zqlogging::ocr {

enum class ShapeKind : std::uint8_t {
  letter,   ///< or a part of one, or several that touch
  mark,     ///< a dot, a dash, a quote: too low for a letter
  barrier,  ///< a rule, a border, a patch: no text, and no line goes on across it
};

/// Puts lines together from the shapes of a picture. Reads the picture's background and components only.
class LineBuilder {
 public:
  /// `barriers` marks the pixels that keep lines apart; `kinds` says what each component is.
  LineBuilder(const Segmentation& picture, const GrayPlane& barriers, const std::vector<ShapeKind>& kinds);

  std::vector<TextLine> build();

 private:
  /// A line that is being put together.
  struct Draft {
    PixelBox box;
    int letterHeight = 0;  ///< of its highest letter
    std::vector<int> members;
  };
  /// The members of a line that share columns: a letter, or an icon with all its parts.
  struct Cluster {
    PixelBox box;
    std::vector<int> members;
  };
  /// Between which rows the letters of a line stand, descenders apart.
  struct Extent {
    int top, baseline;
  };

  [[nodiscard]] const PixelBox& box(int component) const { return components_[component].box; }
  [[nodiscard]] bool isSeparated(const PixelBox& a, const PixelBox& b, int letterHeight) const;
  [[nodiscard]] double pitchOf(const Draft& draft) const;
  [[nodiscard]] Extent measure(const std::vector<int>& members) const;
  [[nodiscard]] bool isCut(const TextLine& line) const;
  [[nodiscard]] bool isStray(const TextLine& line, const std::vector<TextLine>& sure) const;
  static bool isIcon(const PixelBox& box, int before, int behind, Extent rest, bool fixed);

  void joinLetters();
  bool join(Draft& a, Draft& b, const PixelBox& left, const PixelBox& right) const;
  void attachMarks();
  bool attach(int mark);
  void joinPieces();
  [[nodiscard]] std::vector<Cluster> clustersOf(std::vector<int> members) const;
  void splitAtIcons(const Draft& draft, std::vector<TextLine>& lines) const;
  [[nodiscard]] TextLine makeLine(std::vector<Cluster>::const_iterator begin,
                                  std::vector<Cluster>::const_iterator end) const;
  void dropStrays(std::vector<TextLine>& lines) const;

  const Plane<Colour>& background_;
  const Components& shapes_;
  const Plane<int>& labels_;
  const std::vector<Component>& components_;
  const GrayPlane& barriers_;
  const std::vector<ShapeKind>& kinds_;
  std::vector<Draft> drafts_;
};

}  // namespace zqlogging::ocr
