// CFTPAction: "Action.FTPUpload" sends the image (and its companions) to an FTP, FTPS or SFTP
// server, into a folder the destination template names, creating missing folders.
#pragma once

#include <string>
#include <string_view>

#include "com/com.h"
#include "platform/ftp_address.h"
#include "rules/action.h"

namespace lmk {

/// Flag bits of the upload options (the companions use kCompanionXmp and kCompanionWav).
inline constexpr DWORD kFtpPassive = 0x80000;
inline constexpr DWORD kFtpPreserveHierarchy = 0x200000;
inline constexpr DWORD kFtpOverwrite = 0x400000;

class CFTPAction : public CAction {
 public:
  /// New actions use passive mode (which passes firewalls) and take both companions along.
  CFTPAction();

  const std::wstring& Destination() const { return destination_; }
  void SetDestination(std::wstring destination) { destination_ = std::move(destination); }
  bool Option(DWORD bit) const { return (Flags() & bit) != 0; }

  /// Uploads the image (frame 0 only; S_FALSE for later frames) and its selected companions.
  /// S_OK; a failure with the thread's error description set to the logged text (the runner
  /// writes it and applies the policy); HRESULT_FROM_WIN32(ERROR_FILE_EXISTS) for a remote file
  /// that is there already without the overwrite option; E_INVALIDARG for a null record.
  [[nodiscard]] HRESULT Execute(IDictionary* record) const final;

  /// Invalid without a destination, with an unbalanced '{', or with an address that is not
  /// ftp://, ftps:// or sftp:// with a host.
  bool IsValid(std::wstring* reason) const override;
  /// Says what the action does, with the password of the destination masked.
  std::wstring Description() const override;

  /// Where the image at source goes: destination (expanded) joined with the file's name, or with
  /// its folders below imagesFolder when preserveHierarchy (all of them but the root when the
  /// file lies outside it); separators collapsed. S_OK; E_FAIL when the result is longer than
  /// an address may be.
  [[nodiscard]] static HRESULT RemoteAddress(std::wstring_view destination,
                                             std::wstring_view source,
                                             std::wstring_view imagesFolder, bool preserveHierarchy,
                                             std::wstring* url);

 protected:
  /// Version 1: the destination template.
  void ExchangeFields(CFieldArchive& archive, BYTE version) override;
  /// destination, passive, overwrite, preserve-hierarchy, companions: [xmp, wav].
  void ExchangeParameters(CParamArchive& archive) override;

 private:
  HRESULT Run(IDictionary& record) const;
  /// One file to one address; *failure is the text to report when it fails.
  HRESULT UploadOne(std::wstring_view local, std::wstring_view url, std::wstring* failure) const;

  std::wstring destination_;
};

}  // namespace lmk
