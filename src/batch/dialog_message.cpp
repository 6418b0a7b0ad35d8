// DialogMessage::PlainText: a task dialog's texts folded into one message box text.
#include "batch/dialog_view.h"

namespace lmk {

std::wstring DialogMessage::PlainText() const {
  std::wstring text = instruction;
  if (!content.empty()) text += L"\n\n" + content;
  if (!details.empty()) {
    text += L"\n";
    for (const std::wstring& line : details) text += L"\n" + line;
  }
  return text;
}

}  // namespace lmk
