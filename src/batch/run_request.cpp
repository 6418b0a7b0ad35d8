// Reading and writing the run request header in front of the binary rule set.
#include "batch/run_request.h"

#include <array>
#include <cstring>
#include <string>

#include "com/com_error.h"
#include "rules/rule_set_error.h"
#include "rules/rule_set_stream.h"
#include "rules/rule_stream_reader.h"
#include "rules/rule_stream_writer.h"

namespace lmk {
namespace {

constexpr ULONG kHeaderSize = 16;

void PutDword(BYTE* at, DWORD value) {
  for (int i = 0; i < 4; ++i) at[i] = static_cast<BYTE>(value >> (8 * i));
}

DWORD GetDword(const BYTE* at) {
  DWORD value = 0;
  for (int i = 0; i < 4; ++i) value |= static_cast<DWORD>(at[i]) << (8 * i);
  return value;
}

HRESULT Invalid(const std::wstring& why) {
  SetErrorDescription(L"The run request is not valid: " + why + L".");
  return HRESULT_FROM_WIN32(ERROR_INVALID_DATA);
}

HRESULT SeekTo(IStream* stream, LONGLONG position) {
  LARGE_INTEGER move{};
  move.QuadPart = position;
  return stream->Seek(move, STREAM_SEEK_SET, nullptr);
}

}  // namespace

HRESULT WriteRunRequest(IStream* stream, const RunRequest& request) {
  if (stream == nullptr || request.mode > 3) return E_INVALIDARG;
  try {
    std::array<BYTE, kHeaderSize> header{};
    std::memcpy(header.data(), kRunRequestMagic, 4);
    PutDword(header.data() + 4, kRunRequestFormat);
    PutDword(header.data() + 8, request.mode);
    const DWORD flags = request.runPaths.empty() ? (request.flags & ~kRunRequestRunPaths)
                                                 : (request.flags | kRunRequestRunPaths);
    PutDword(header.data() + 12, flags);
    ULONG written = 0;
    LMK_RETURN_IF_FAILED(stream->Write(header.data(), kHeaderSize, &written));
    if (written != kHeaderSize) return STG_E_MEDIUMFULL;
    if (!request.runPaths.empty()) {
      if (request.runPaths.size() > kRunRequestMaxRunPaths) return E_INVALIDARG;
      CRuleStreamWriter paths;
      paths.U32(static_cast<std::uint32_t>(request.runPaths.size()));
      for (const std::wstring& path : request.runPaths) paths.Text(path);
      LMK_RETURN_IF_FAILED(paths.WriteTo(stream));
    }
    return SaveRuleSet(stream, request.rules, request.templates);
  } catch (...) {
    return HresultFromCurrentException();
  }
}

HRESULT ReadRunRequest(IStream* stream, const CElementRegistry& registry, RunRequest* out) {
  if (stream == nullptr || out == nullptr) return E_INVALIDARG;
  try {
    RunRequest request;
    LMK_RETURN_IF_FAILED(SeekTo(stream, 0));
    std::array<BYTE, kHeaderSize> header{};
    ULONG read = 0;
    LMK_RETURN_IF_FAILED(stream->Read(header.data(), kHeaderSize, &read));
    if (read >= 4 && std::memcmp(header.data(), kRunRequestMagic, 4) == 0) {
      if (read < kHeaderSize) return Invalid(L"it ends inside its header");
      const DWORD format = GetDword(header.data() + 4);
      if (format != kRunRequestFormat) {
        return Invalid(L"format " + std::to_wstring(format) + L" is newer than this version");
      }
      request.run = true;
      request.mode = GetDword(header.data() + 8);
      request.flags = GetDword(header.data() + 12);
      if (request.mode > 3) {
        return Invalid(L"the operating mode " + std::to_wstring(request.mode) +
                       L" does not exist (1 current image, 2 all images, 3 current and "
                       L"remaining)");
      }
      if ((request.flags & ~kRunRequestKnownFlags) != 0) return Invalid(L"it has unknown flags");
      if ((request.flags & kRunRequestRunPaths) != 0) {
        try {
          CRuleStreamReader paths(stream);
          const std::uint32_t count = paths.Count(kRunRequestMaxRunPaths, L"run paths");
          for (std::uint32_t i = 0; i < count; ++i) request.runPaths.push_back(paths.Text());
        } catch (const CRuleSetError& error) {
          return Invalid(L"its run paths are damaged (" + error.Text() + L")");
        }
      }
    } else {
      // A rule set alone: read it from the start.
      LMK_RETURN_IF_FAILED(SeekTo(stream, 0));
    }
    try {
      request.rules = LoadRuleSet(stream, registry, &request.templates);
    } catch (const CRuleSetError& error) {
      SetErrorDescription(error.Text());
      return HRESULT_FROM_WIN32(ERROR_INVALID_DATA);
    }
    *out = std::move(request);
    return S_OK;
  } catch (...) {
    return HresultFromCurrentException();
  }
}

}  // namespace lmk
