// Only POSIX code here: the desktop trash through GIO, which keeps the trash folders and their
// restore information as file managers expect them.
#include "platform/trash.h"

#include <gio/gio.h>

#include <memory>
#include <string>

#include "platform/text_encoding.h"

namespace lmk {
namespace {

struct ObjectDeleter {
  void operator()(gpointer object) const { g_object_unref(object); }
};
struct ErrorDeleter {
  void operator()(GError* error) const { g_error_free(error); }
};

HRESULT ResultOf(const GError& error) {
  if (error.domain != G_IO_ERROR) return E_FAIL;
  switch (error.code) {
    case G_IO_ERROR_NOT_FOUND:
      return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
    case G_IO_ERROR_PERMISSION_DENIED:
    case G_IO_ERROR_READ_ONLY:
      return E_ACCESSDENIED;
    case G_IO_ERROR_NOT_SUPPORTED:
      return HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED);
    case G_IO_ERROR_NO_SPACE:
      return HRESULT_FROM_WIN32(ERROR_DISK_FULL);
    case G_IO_ERROR_BUSY:
      return HRESULT_FROM_WIN32(ERROR_BUSY);
    default:
      return E_FAIL;
  }
}

}  // namespace

HRESULT MoveToTrash(std::wstring_view path) {
  if (path.empty()) return E_INVALIDARG;
  const std::string native = ToUtf8(path);
  std::unique_ptr<GFile, ObjectDeleter> file(g_file_new_for_path(native.c_str()));
  GError* raw = nullptr;
  if (g_file_trash(file.get(), nullptr, &raw)) return S_OK;
  std::unique_ptr<GError, ErrorDeleter> error(raw);
  if (!error) return E_FAIL;
  const HRESULT hr = ResultOf(*error);
  std::wstring text = L"Cannot move '";
  text += path;
  text += L"' to the trash: ";
  if (hr == HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED)) {
    text += L"the volume it lies on has no trash; delete it for good instead (";
    text += FromUtf8(error->message);
    text += L").";
  } else {
    text += FromUtf8(error->message);
    text += L'.';
  }
  SetErrorDescription(text);
  return hr;
}

}  // namespace lmk
