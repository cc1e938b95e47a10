#include "zqlogging/Diagnosis.h"

#include <exception>
#include <utility>

#include "diagnostics/SessionFindings.h"
#include "platform/Platform.h"
#include "zqlogging/Recognition.h"

namespace zqlogging {

namespace {

Finding recognitionFinding(port::Platform& desktop) {
  const std::uint32_t pixel = 0;
  try {
    static_cast<void>(TextRecognizer(desktop).recognize(
        {{std::shared_ptr<void>(), reinterpret_cast<const std::uint8_t*>(&pixel)}, 1, 1, sizeof pixel}));
    return {"recognition-ready", Finding::Gravity::fine, "", "The text around clicks can be recognized.", ""};
  } catch (const std::exception& error) {
    return {"recognition-missing", Finding::Gravity::note, error.what(),
            "Clicks are recorded without the text around them, also where the host asks for it.",
            "Install the library's recognition module and tesseract-ocr-eng."};
  }
}

}  // namespace

std::vector<Finding> diagnose(port::Platform& desktop) {
  port::Session* session = desktop.session();
  if (session == nullptr) {
    return {};
  }
  std::vector<Finding> findings = findingsOf(session->look());
  findings.push_back(recognitionFinding(desktop));
  return findings;
}

bool repair(port::Platform& desktop, const Finding& finding) {
  port::Session* session = desktop.session();
  if (session == nullptr || !finding.repairable) {
    return false;
  }
  if (finding.code == "listener-not-announced") {
    return session->announceListenerForGood();
  }
  return finding.code == "cache-unusable" && session->repairCachesFolder();
}

}  // namespace zqlogging
