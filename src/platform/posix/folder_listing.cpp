// Only generic POSIX code here: folder listings read with opendir/readdir, and the switch of the
// run memory that the other POSIX services consult.
#include "platform/folder_listing.h"

#include <dirent.h>
#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "platform/file_system.h"
#include "platform/posix/run_memory.h"
#include "platform/text_encoding.h"
#include "platform/volume.h"

namespace lmk {
namespace {

using SteadyTime = std::chrono::steady_clock::time_point;
// A folder's names, with a bit per name hash in front of them: most questions are about
// names that a folder does not hold, and one bit in a small table answers most of those
// without touching the set's scattered nodes.
class NameSet {
 public:
  void Insert(std::string name) {
    const std::size_t hash = Hash(name);
    if (!names_.insert(std::move(name)).second) return;
    if (names_.size() * kBitsPerName > bits_.size() * 64) {
      Rebuild();
    } else {
      Mark(hash);
    }
  }

  // Makes room for `count` names at once, so that reading a large folder again does not grow
  // the set step by step.
  void Reserve(std::size_t count) {
    if (!names_.empty()) return;
    names_.reserve(count);
    std::size_t words = 16;
    while (words * 64 < count * kBitsPerName * 2) words *= 2;
    if (words > bits_.size()) bits_.assign(words, 0);
  }

  std::size_t size() const { return names_.size(); }

  bool Contains(const std::string& name) const {
    const std::size_t hash = Hash(name);
    if (bits_.empty() || (bits_[Word(hash)] & Bit(hash)) == 0) return false;
    return names_.contains(name);
  }

 private:
  // About one false "maybe" in twenty for a name that is not there.
  static constexpr std::size_t kBitsPerName = 16;

  static std::size_t Hash(std::string_view name) { return std::hash<std::string_view>{}(name); }
  std::size_t Word(std::size_t hash) const { return (hash >> 6) & (bits_.size() - 1); }
  static uint64_t Bit(std::size_t hash) { return uint64_t{1} << (hash & 63); }
  void Mark(std::size_t hash) { bits_[Word(hash)] |= Bit(hash); }

  void Rebuild() {
    std::size_t words = 16;
    while (words * 64 < names_.size() * kBitsPerName * 2) words *= 2;
    bits_.assign(words, 0);
    for (const std::string& name : names_) Mark(Hash(name));
  }

  std::unordered_set<std::string> names_;
  std::vector<uint64_t> bits_;  // a power of two of words
};

// Beyond this many listings the expired ones are dropped before another is added, so that a
// run over a deep tree does not keep every folder's names until it ends.
constexpr std::size_t kSweepAbove = 64;

struct DirCloser {
  void operator()(DIR* dir) const { ::closedir(dir); }
};

// The names in `folder`, or nothing when it cannot be read to its end; `expected` is how many
// it held when last read.
std::optional<NameSet> ReadNames(const std::string& folder, std::size_t expected) {
  std::unique_ptr<DIR, DirCloser> dir(::opendir(folder.c_str()));
  if (!dir) return std::nullopt;
  NameSet names;
  names.Reserve(expected);
  for (;;) {
    errno = 0;
    const dirent* entry = ::readdir(dir.get());
    if (entry == nullptr) break;
    names.Insert(entry->d_name);
  }
  if (errno != 0) return std::nullopt;
  return names;
}

// The folder (in its normal spelling) and the name of the native `path`; false when the path
// names no entry that a listing could hold ("", "a/", "a/..").
bool SplitName(const std::string& path, std::string* folder, std::string* name) {
  const std::size_t slash = path.find_last_of('/');
  *name = slash == std::string::npos ? path : path.substr(slash + 1);
  if (name->empty() || *name == "." || *name == "..") return false;
  if (slash == std::string::npos) {
    *folder = ".";
  } else {
    *folder = NormalFolderPath(slash == 0 ? std::string_view("/")
                                          : std::string_view(path).substr(0, slash));
  }
  return true;
}

// A folder's device, inode and modification time when its listing was read. A folder that
// still shows the same had no name added, removed or renamed since, so an old listing of it
// need not be read again: a run over a large folder that nothing changes read it anew every
// few seconds, and the reads grew with the run's length times the folder's size.
struct FolderStamp {
  dev_t device = 0;
  ino_t inode = 0;
  timespec modified{};

  bool operator==(const FolderStamp& other) const {
    return device == other.device && inode == other.inode &&
           modified.tv_sec == other.modified.tv_sec && modified.tv_nsec == other.modified.tv_nsec;
  }
};

// A folder's times advance by clock ticks: a change within the tick of the stamp could leave
// it as it was. A stamp is trusted only when the folder last changed well before it was taken,
// and never on a network file system, whose times may come from a cache.
constexpr std::chrono::seconds kStampSettled{1};

std::optional<FolderStamp> SettledStamp(const std::string& folder) {
  struct stat info {};
  if (::stat(folder.c_str(), &info) != 0) return std::nullopt;
  const auto modified = std::chrono::system_clock::time_point(
      std::chrono::duration_cast<std::chrono::system_clock::duration>(
          std::chrono::seconds(info.st_mtim.tv_sec) +
          std::chrono::nanoseconds(info.st_mtim.tv_nsec)));
  if (std::chrono::system_clock::now() - modified < kStampSettled) return std::nullopt;
  if (GetFolderVolumeKey(FromUtf8(folder)) == L"Network") return std::nullopt;
  return FolderStamp{info.st_dev, info.st_ino, info.st_mtim};
}

bool StillAsStamped(const std::string& folder, const FolderStamp& stamp) {
  struct stat info {};
  return ::stat(folder.c_str(), &info) == 0 &&
         FolderStamp{info.st_dev, info.st_ino, info.st_mtim} == stamp;
}

struct Listing {
  // Set while one thread reads the folder; the others wait for it.
  bool reading = true;
  bool readable = false;
  // When the read began: a name added by another program after that may be missing.
  SteadyTime readAt{};
  NameSet names;
  // Names this process made while the folder was being read, which the read may have missed.
  std::vector<std::string> addedWhileReading;
  // Taken just before the read; absent when it cannot be trusted.
  std::optional<FolderStamp> stamp;
};

std::atomic<int> g_runScopes{0};

FolderListings& ProcessListings() {
  static FolderListings listings;
  return listings;
}

}  // namespace

namespace {

// True when `path` has nothing for NormalFolderPath to remove: the usual case, asked for
// every lookup.
bool IsNormalFolderPath(std::string_view path) {
  if (path.empty() || path == "/" || path == ".") return !path.empty();
  if (path.back() == '/' || path.starts_with("./") || path.ends_with("/.") ||
      path.find("//") != std::string_view::npos || path.find("/./") != std::string_view::npos)
    return false;
  return true;
}

}  // namespace

std::string NormalFolderPath(std::string_view path) {
  if (IsNormalFolderPath(path)) return std::string(path);
  std::string result;
  if (!path.empty() && path.front() == '/') result = "/";
  std::size_t start = 0;
  while (start <= path.size()) {
    std::size_t end = path.find('/', start);
    if (end == std::string_view::npos) end = path.size();
    const std::string_view part = path.substr(start, end - start);
    if (!part.empty() && part != ".") {
      if (!result.empty() && result.back() != '/') result += '/';
      result += part;
    }
    start = end + 1;
  }
  if (result.empty()) result = ".";
  return result;
}

struct FolderListings::Table {
  enum class Answer { kAbsent, kListed, kUnknown };

  std::chrono::milliseconds maxAge;
  TimeSource now;
  std::mutex mutex;
  std::condition_variable readDone;
  std::map<std::string, std::shared_ptr<Listing>, std::less<>> listings;
  std::size_t reads = 0;

  static Answer AnswerFrom(const Listing& listing, const std::string& name) {
    if (!listing.readable) return Answer::kUnknown;
    return listing.names.Contains(name) ? Answer::kListed : Answer::kAbsent;
  }

  // Whether `folder` holds `name`, from its listing, read now if there is none fresh enough.
  Answer Find(const std::string& folder, const std::string& name) {
    std::unique_lock lock(mutex);
    for (;;) {
      const auto found = listings.find(folder);
      if (found == listings.end()) break;
      Listing& known = *found->second;
      if (known.reading) {
        readDone.wait(lock);
        continue;
      }
      if (now() - known.readAt <= maxAge) return AnswerFrom(known, name);
      if (known.readable && known.stamp && StillAsStamped(folder, *known.stamp)) {
        known.readAt = now();
        return AnswerFrom(known, name);
      }
      break;
    }
    if (listings.size() >= kSweepAbove) SweepExpired();
    auto listing = std::make_shared<Listing>();
    // The old listing (tens of thousands of names in a large folder) is freed after the lock is
    // let go, so that other threads do not wait for that.
    std::shared_ptr<Listing> old;
    if (const auto found = listings.find(folder); found != listings.end()) {
      old = std::exchange(found->second, listing);
    } else {
      listings.emplace(folder, listing);
    }
    const std::size_t expected = old && old->readable ? old->names.size() : 0;
    lock.unlock();
    old.reset();

    const SteadyTime started = now();
    std::optional<NameSet> names;
    std::optional<FolderStamp> stamp;
    try {
      stamp = SettledStamp(folder);
      names = ReadNames(folder, expected);
    } catch (...) {
      // Out of memory: the folder is asked name by name instead.
      names.reset();
    }

    lock.lock();
    ++reads;
    listing->reading = false;
    listing->readAt = started;
    try {
      if (names) {
        for (std::string& added : listing->addedWhileReading) names->Insert(std::move(added));
        listing->names = std::move(*names);
        listing->readable = true;
        listing->stamp = stamp;
      }
    } catch (...) {
      listing->readable = false;
    }
    listing->addedWhileReading.clear();
    readDone.notify_all();
    return AnswerFrom(*listing, name);
  }

  // The lock is held.
  void SweepExpired() {
    const SteadyTime at = now();
    std::erase_if(listings, [&](const auto& entry) {
      return !entry.second->reading && at - entry.second->readAt > maxAge;
    });
  }

  void NoteAdded(const std::string& folder, const std::string& name, const std::string& path) {
    std::lock_guard lock(mutex);
    if (listings.empty()) return;
    if (const auto found = listings.find(folder); found != listings.end()) {
      Listing& listing = *found->second;
      if (listing.reading) {
        listing.addedWhileReading.push_back(name);
      } else if (listing.readable) {
        listing.names.Insert(name);
      }
    }
    // A folder renamed into place replaces whatever was listed under its name and below it.
    listings.erase(path);
    const std::string below = path == "/" ? path : path + "/";
    for (auto it = listings.lower_bound(below);
         it != listings.end() && it->first.starts_with(below);) {
      it = listings.erase(it);
    }
  }
};

FolderListings::FolderListings(std::chrono::milliseconds maxAge, TimeSource now)
    : table_(std::make_unique<Table>()) {
  table_->maxAge = maxAge;
  table_->now = now ? std::move(now) : TimeSource(&std::chrono::steady_clock::now);
}

FolderListings::~FolderListings() = default;

bool FolderListings::FileExists(std::wstring_view path) {
  if (path.empty()) return false;
  const std::string native = ToUtf8(path);
  std::string folder;
  std::string name;
  if (!SplitName(native, &folder, &name)) return ::lmk::FileExists(path);
  // A listed name may have gone since: only the real lookup says it is there.
  return table_->Find(folder, name) != Table::Answer::kAbsent && ::lmk::FileExists(path);
}

int FolderListings::FirstExisting(std::wstring_view stem, std::span<const std::wstring> suffixes) {
  std::string native = ToUtf8(stem);
  std::string folder;
  std::string name;
  const bool split = !stem.empty() && stem.back() != L'/' && SplitName(native, &folder, &name);
  const std::size_t stemSize = native.size();
  const std::size_t baseSize = name.size();
  for (std::size_t i = 0; i < suffixes.size(); ++i) {
    const std::wstring& suffix = suffixes[i];
    if (suffix.empty()) continue;
    if (!split || suffix.find(L'/') != std::wstring::npos) {
      // Not a name in the stem's folder: asked as a whole path.
      if (FileExists(std::wstring(stem) + suffix)) return static_cast<int>(i);
      continue;
    }
    const std::string tail = ToUtf8(suffix);
    name.resize(baseSize);
    name += tail;
    if (table_->Find(folder, name) == Table::Answer::kAbsent) continue;
    // A listed name may have gone since: only the real lookup says it is there.
    native.resize(stemSize);
    native += tail;
    struct stat info {};
    if (::stat(native.c_str(), &info) == 0 && !S_ISDIR(info.st_mode)) return static_cast<int>(i);
  }
  return -1;
}

void FolderListings::NoteAdded(std::wstring_view path) {
  if (!path.empty()) NoteAddedNative(ToUtf8(path));
}

void FolderListings::NoteAddedNative(const std::string& native) {
  std::string folder;
  std::string name;
  if (!SplitName(native, &folder, &name)) return;
  table_->NoteAdded(folder, name, NormalFolderPath(native));
}

void FolderListings::Clear() {
  std::lock_guard lock(table_->mutex);
  table_->listings.clear();
}

std::size_t FolderListings::ReadCount() const {
  std::lock_guard lock(table_->mutex);
  return table_->reads;
}

ScopedRunMemory::ScopedRunMemory() {
  ForgetFolderListings();
  g_runScopes.fetch_add(1);
}

ScopedRunMemory::~ScopedRunMemory() {
  g_runScopes.fetch_sub(1);
  ForgetFolderListings();
}

bool RunMemoryOn() { return g_runScopes.load(std::memory_order_relaxed) > 0; }

void ForgetFolderListings() {
  ProcessListings().Clear();
  ForgetMadeFolders();
  ForgetFolderDevices();
  CloseIdleVolumeLockFiles();
}

bool ListedFileExists(std::wstring_view path) {
  return RunMemoryOn() ? ProcessListings().FileExists(path) : FileExists(path);
}

int FirstListedFile(std::wstring_view stem, std::span<const std::wstring> suffixes) {
  if (RunMemoryOn()) return ProcessListings().FirstExisting(stem, suffixes);
  for (std::size_t i = 0; i < suffixes.size(); ++i) {
    if (!suffixes[i].empty() && FileExists(std::wstring(stem) + suffixes[i])) {
      return static_cast<int>(i);
    }
  }
  return -1;
}

void NoteFileAdded(std::wstring_view path) {
  if (RunMemoryOn()) ProcessListings().NoteAdded(path);
}

void NoteNativeFileAdded(const std::string& path) {
  if (RunMemoryOn() && !path.empty()) ProcessListings().NoteAddedNative(path);
}

}  // namespace lmk
