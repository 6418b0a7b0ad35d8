// The texts the file actions write to the event log and give back as failure descriptions.
#pragma once

#include <string_view>

namespace lmk::action_text {

// Before the operation.
inline constexpr std::wstring_view kMoving = L"Moving \"%ls\" to \"%s\".";
inline constexpr std::wstring_view kMovingRenamed =
    L"Moving \"%ls\" to \"%s\", renamed using \"%s\".";
inline constexpr std::wstring_view kCopying = L"Copying \"%ls\" to \"%s\".";
inline constexpr std::wstring_view kCopyingRenamed =
    L"Copying \"%ls\" to \"%s\", renamed using \"%s\".";
inline constexpr std::wstring_view kLinking = L"Linking to \"%ls\" from \"%s\".";
inline constexpr std::wstring_view kLinkingRenamed =
    L"Linking to \"%ls\" from \"%s\", link renamed using \"%s\".";

// Failures of the transfers.
inline constexpr std::wstring_view kCannotMove = L"Cannot move '%ls' to '%ls'.";
inline constexpr std::wstring_view kCannotCopy = L"Cannot copy '%ls' to '%ls'.";
inline constexpr std::wstring_view kCannotLink = L"Cannot link to '%ls' from '%ls'.";
inline constexpr std::wstring_view kCannotCreateFolder = L"Cannot create folder '%ls'.";
inline constexpr std::wstring_view kFileExists = L"File already exists: '%ls'.";
inline constexpr std::wstring_view kIntegrityFailed =
    L"Copy integrity check failed: '%ls' is NOT identical to '%ls', or the file comparison could "
    L"not be performed.";
inline constexpr std::wstring_view kVerified =
    L"File '%ls' has been verified to be identical to '%ls'.";
inline constexpr std::wstring_view kMoveFinished =
    L"File '%ls' already stood at '%ls' with the same content (left by a move that was "
    L"interrupted); the move was finished by removing '%ls'.";
inline constexpr std::wstring_view kMoveTakenBack =
    L"Cannot move '%ls' to '%ls': '%ls' could not be removed, so the copy was taken back and the "
    L"file stays only where it was. Make its folder writable and run the rules again.";
inline constexpr std::wstring_view kUnknownTemplate =
    L"There is no renaming template named '%ls'. Define it with 'lumarko templates set' or in "
    L"the rule set's templates.";
/// The kept renaming templates cannot be read; the store's own reason follows.
inline constexpr std::wstring_view kTemplateLookupFailed =
    L"The renaming template '%ls' cannot be looked up: %ls";

// Rename and delete.
inline constexpr std::wstring_view kRenaming = L"Renaming \"%ls\" to \"%s\" using template \"%s\".";
inline constexpr std::wstring_view kCannotRename = L"Cannot rename '%ls' to '%ls'.";
inline constexpr std::wstring_view kRecycling = L"Recycling \"%ls\".";
inline constexpr std::wstring_view kCannotRecycle = L"Cannot recycle '%ls'.";
inline constexpr std::wstring_view kDeleting = L"Deleting \"%ls\".";
inline constexpr std::wstring_view kCannotDelete = L"Cannot delete '%ls'.";
inline constexpr std::wstring_view kRemovingFolder = L"Removing \"%ls\".";

// A companion that another picture of the same name still uses.
inline constexpr std::wstring_view kKeepingShared = L"Keeping \"%ls\": \"%ls\" still uses it.";
inline constexpr std::wstring_view kCopyingShared =
    L"Copying \"%ls\" to \"%ls\" instead of taking it: \"%ls\" still uses it.";
inline constexpr std::wstring_view kSharedCopyStands =
    L"Removing \"%ls\": the last picture that used it has gone and \"%ls\" holds the same "
    L"content.";

}  // namespace lmk::action_text
