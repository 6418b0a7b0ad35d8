// Only Linux and generic POSIX code here: copies, moves, links and deletes that never leave a
// partial file under a final name and never overwrite what they were told to keep.
#include "platform/file_operations.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "com/com_error.h"
#include "platform/folder_listing.h"
#include "platform/posix/error_map.h"
#include "platform/posix/run_memory.h"
#include "platform/posix/unique_fd.h"
#include "platform/text_encoding.h"
#include "platform/volume.h"

namespace lmk {
namespace {

// ---- the test hook ----------------------------------------------------------------------------

std::atomic<bool> g_hookInstalled{false};
std::mutex g_hookMutex;
FileFaultHook g_hook;

DWORD InjectedFault(FileStep step, std::wstring_view path) {
  if (!g_hookInstalled.load(std::memory_order_acquire)) return ERROR_SUCCESS;
  FileFaultHook hook;
  {
    std::lock_guard lock(g_hookMutex);
    hook = g_hook;
  }
  return hook ? hook(step, path) : ERROR_SUCCESS;
}

HRESULT InjectedFailure(DWORD code, std::wstring_view what, std::wstring_view path) {
  std::wstring text(what);
  text += L" '";
  text += path;
  text += L"': the step was made to fail (error ";
  text += std::to_wstring(code);
  text += L").";
  SetErrorDescription(text);
  return HRESULT_FROM_WIN32(code);
}

// ---- paths ------------------------------------------------------------------------------------

// The folder and the name of a native path; "a" has the folder ".", "/a" the folder "/".
struct SplitPath {
  std::string folder;
  std::string name;
};

SplitPath Split(const std::string& path) {
  std::string trimmed = path;
  while (trimmed.size() > 1 && trimmed.back() == '/') trimmed.pop_back();
  const std::size_t slash = trimmed.find_last_of('/');
  if (slash == std::string::npos) return {".", trimmed};
  if (slash == 0) return {"/", trimmed.substr(1)};
  return {trimmed.substr(0, slash), trimmed.substr(slash + 1)};
}

bool IsFolder(const std::string& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

// A missing file whose folder is missing too is "path not found", as Windows tells them apart.
int RefineMissing(int error, const std::string& path) {
  if (error == ENOENT && !IsFolder(Split(path).folder)) return ENOTDIR;
  return error;
}

HRESULT Fail(HRESULT hr, std::wstring_view text) {
  SetErrorDescription(text);
  return hr;
}

std::wstring Quoted(std::wstring_view path) {
  std::wstring text(L"'");
  text += path;
  text += L'\'';
  return text;
}

bool IsReadOnly(const struct stat& info) { return (info.st_mode & S_IWUSR) == 0; }

// ---- temporaries and their owners --------------------------------------------------------------

// The start time of process `pid` (clock ticks after boot, field 22 of /proc/<pid>/stat), which
// tells a process from a later one that got the same id. Returns 0 or an errno (ENOENT: no such
// process).
int ProcessStartTime(long pid, unsigned long long* start) {
  char path[48];
  std::snprintf(path, sizeof path, "/proc/%ld/stat", pid);
  UniqueFd fd(::open(path, O_RDONLY | O_CLOEXEC));
  if (!fd.valid()) return errno;
  char text[1024];
  const ssize_t got = ::read(fd.get(), text, sizeof text - 1);
  if (got <= 0) return got == 0 ? EIO : errno;
  const std::string_view stat(text, static_cast<std::size_t>(got));
  // The command name in parentheses may hold spaces and parentheses: count from the last one.
  std::size_t at = stat.rfind(')');
  if (at == std::string_view::npos) return EIO;
  for (int field = 2; field < 22; ++field) {
    at = stat.find(' ', at + 1);
    if (at == std::string_view::npos) return EIO;
  }
  const char* begin = stat.data() + at + 1;
  const auto [end, failed] = std::from_chars(begin, stat.data() + stat.size(), *start);
  return failed == std::errc() && end != begin ? 0 : EIO;
}

// ".lmk-<pid>-<start time>-" of this process, so that a later run can tell whether the writer of
// a temporary still runs; ".lmk-<pid>-0-" where /proc cannot say. Made once per process (a forked
// child makes its own), since asking for the process id on every write was a system call each.
std::mutex g_ownerLock;
std::string g_ownerPrefix;

void ForgetOwnerPrefix() { g_ownerPrefix.clear(); }

std::string OwnerPrefix() {
  std::lock_guard guard(g_ownerLock);
  if (g_ownerPrefix.empty()) {
    static const int registered = ::pthread_atfork(nullptr, nullptr, ForgetOwnerPrefix);
    (void)registered;
    const long pid = ::getpid();
    unsigned long long start = 0;
    if (ProcessStartTime(pid, &start) != 0) start = 0;
    g_ownerPrefix = ".lmk-" + std::to_string(pid) + "-" + std::to_string(start) + "-";
  }
  return g_ownerPrefix;
}

// A name that no other writer picks: hidden (so folder scans pass it by), short enough for any
// folder, counted per process, and naming its process so that a run after a crash can remove
// it. A name taken all the same (a process of another machine sharing the folder) is refused by
// the exclusive create or link, and the caller asks for the next one.
std::string TemporaryName() {
  static std::atomic<std::uint32_t> counter{0};
  char number[16];
  std::snprintf(number, sizeof number, "%08x.tmp", counter.fetch_add(1, std::memory_order_relaxed));
  return OwnerPrefix() + number;
}

// Reads the owner from a name made by TemporaryName; false for any other name.
bool ParseTemporaryName(std::string_view name, long* pid, unsigned long long* start) {
  constexpr std::string_view kPrefix = ".lmk-";
  constexpr std::string_view kSuffix = ".tmp";
  if (!name.starts_with(kPrefix) || !name.ends_with(kSuffix)) return false;
  const char* at = name.data() + kPrefix.size();
  const char* end = name.data() + name.size() - kSuffix.size();
  auto [afterPid, pidFailed] = std::from_chars(at, end, *pid);
  if (pidFailed != std::errc() || afterPid == at || afterPid == end || *afterPid != '-')
    return false;
  at = afterPid + 1;
  auto [afterStart, startFailed] = std::from_chars(at, end, *start);
  if (startFailed != std::errc() || afterStart == at || afterStart == end || *afterStart != '-')
    return false;
  at = afterStart + 1;
  if (at == end) return false;
  for (; at != end; ++at) {
    if (!std::isxdigit(static_cast<unsigned char>(*at))) return false;
  }
  return *pid > 0;
}

// Whether the writer of a temporary may still be at work: the process runs and started when
// the name says. A process that cannot be asked counts as running, so nothing of it is removed.
bool OwnerMayRun(long pid, unsigned long long start) {
  unsigned long long actual = 0;
  const int error = ProcessStartTime(pid, &actual);
  if (error == ENOENT || error == ESRCH) return false;
  if (error != 0) return true;
  // Without a start time in the name only the id can tell.
  return start == 0 || actual == start;
}

// Folders already cleared of stale temporaries in this run.
std::mutex g_sweptLock;
std::set<std::string, std::less<>> g_sweptFolders;

// Removes, once per run, the temporaries that processes killed while copying left in `folder`;
// those of running processes (this one's included) stay.
void RemoveStaleTemporaries(const std::string& folder) {
  {
    std::lock_guard guard(g_sweptLock);
    if (g_sweptFolders.contains(folder)) return;
  }
  unsigned long long ownStart = 0;
  if (ProcessStartTime(::getpid(), &ownStart) != 0) return;  // without /proc nothing is decidable
  struct CloseDir {
    void operator()(DIR* dir) const noexcept { ::closedir(dir); }
  };
  std::unique_ptr<DIR, CloseDir> dir(::opendir(folder.c_str()));
  if (!dir) return;
  {
    std::lock_guard guard(g_sweptLock);
    if (!g_sweptFolders.insert(folder).second) return;
  }
  while (const dirent* entry = ::readdir(dir.get())) {
    long pid = 0;
    unsigned long long start = 0;
    if (entry->d_type != DT_REG && entry->d_type != DT_UNKNOWN) continue;
    if (!ParseTemporaryName(entry->d_name, &pid, &start) || OwnerMayRun(pid, start)) continue;
    // A folder of that name is refused and stays; a file removed meanwhile is no matter.
    (void)::unlinkat(::dirfd(dir.get()), entry->d_name, 0);
  }
}

// ---- what a new file gets by itself -----------------------------------------------------------

// The process's umask, read once from /proc (setting it to learn it would change it for every
// thread for an instant); 022 where /proc cannot say, which at worst costs a needless fchmod.
mode_t Umask() {
  static const mode_t mask = [] {
    UniqueFd fd(::open("/proc/self/status", O_RDONLY | O_CLOEXEC));
    char text[4096];
    const ssize_t got = fd.valid() ? ::read(fd.get(), text, sizeof text - 1) : -1;
    const std::string_view status(text, got > 0 ? static_cast<std::size_t>(got) : 0);
    const std::size_t at = status.find("Umask:\t");
    unsigned value = 022;
    if (at != std::string_view::npos) {
      const char* begin = status.data() + at + 7;
      (void)std::from_chars(begin, status.data() + status.size(), value, 8);
    }
    return static_cast<mode_t>(value & 0777);
  }();
  return mask;
}

uid_t EffectiveUser() {
  static const uid_t user = ::geteuid();
  return user;
}

// What a file made in a folder gets without being told: its group (the folder's where the
// folder hands its group down, else the process's), and whether the mode asked for at creation,
// less the umask, is the mode it gets (a default ACL of the folder would decide instead).
// Remembered per folder while the run memory is on, so that replacing a file whose owner and
// mode a new file gets anyway costs neither fchown nor fchmod.
struct NewFileDefaults {
  gid_t group = 0;
  bool modeAsAsked = false;
};

std::mutex g_defaultsLock;
std::map<std::string, NewFileDefaults, std::less<>> g_folderDefaults;

std::optional<NewFileDefaults> DefaultsIn(const std::string& folder) {
  if (!RunMemoryOn()) return std::nullopt;
  {
    std::lock_guard guard(g_defaultsLock);
    if (const auto found = g_folderDefaults.find(folder); found != g_folderDefaults.end()) {
      return found->second;
    }
  }
  struct stat info {};
  if (::stat(folder.c_str(), &info) != 0) return std::nullopt;
  NewFileDefaults defaults;
  defaults.group = (info.st_mode & S_ISGID) != 0 ? info.st_gid : ::getegid();
  // A system that cannot tell counts as having a default ACL.
  defaults.modeAsAsked = ::getxattr(folder.c_str(), "system.posix_acl_default", nullptr, 0) < 0 &&
                         (errno == ENODATA || errno == ENOTSUP);
  std::lock_guard guard(g_defaultsLock);
  g_folderDefaults.try_emplace(folder, defaults);
  return defaults;
}

// ---- folders made during a run ----------------------------------------------------------------

// Folders that CreateDirectories made or found while the run memory is on: the next image going
// to the same folder costs no lookup. A folder removed behind our back is made again by the
// operation that finds it missing (RemadeMissingFolder).
std::mutex g_madeLock;
std::set<std::string, std::less<>> g_madeFolders;

bool IsMadeFolder(const std::string& folder) {
  std::lock_guard guard(g_madeLock);
  return g_madeFolders.contains(folder);
}

void RememberMadeFolder(std::string folder) {
  std::lock_guard guard(g_madeLock);
  g_madeFolders.insert(std::move(folder));
}

// Forgets `folder` and every folder below it; true when `folder` itself was remembered.
bool ForgetMadeFolder(const std::string& folder) {
  std::lock_guard guard(g_madeLock);
  if (g_madeFolders.empty()) return false;
  const bool known = g_madeFolders.erase(folder) > 0;
  const std::string below = folder == "/" ? folder : folder + "/";
  for (auto it = g_madeFolders.lower_bound(below);
       it != g_madeFolders.end() && it->starts_with(below);) {
    it = g_madeFolders.erase(it);
  }
  return known;
}

// CreateDirectories without the run memory; `native` is `path` in the system's form.
HRESULT CreateFolders(std::wstring_view path, std::string native) {
  while (native.size() > 1 && native.back() == '/') native.pop_back();
  struct stat info {};
  if (::stat(native.c_str(), &info) == 0) {
    if (S_ISDIR(info.st_mode)) return S_FALSE;
    return Fail(HRESULT_FROM_WIN32(ERROR_ALREADY_EXISTS),
                L"Cannot create the folder " + Quoted(path) + L": a file of that name exists.");
  }
  // Each prefix up to a separator, then the whole path; existing ones are passed over.
  for (std::size_t end = native.find('/', 1);; end = native.find('/', end + 1)) {
    const bool last = end == std::string::npos;
    const std::string prefix = last ? native : native.substr(0, end);
    if (!prefix.empty() && prefix.back() != '/' && ::mkdir(prefix.c_str(), 0777) != 0) {
      const int error = errno;
      if (error != EEXIST) {
        return HresultFromErrno(error == ENOENT ? ENOTDIR : error,
                                L"Cannot create the folder " + Quoted(path));
      }
      if (!IsFolder(prefix)) {
        return last ? Fail(HRESULT_FROM_WIN32(ERROR_ALREADY_EXISTS),
                           L"Cannot create the folder " + Quoted(path) +
                               L": a file of that name exists.")
                    : HresultFromErrno(ENOTDIR, L"Cannot create the folder " + Quoted(path));
      }
    }
    if (last) break;
  }
  return S_OK;
}

// After an operation failed with ENOENT on a name in the folder of `target`: when that folder was
// remembered as made and is gone now (removed by another program mid-run), makes it again, so
// that the caller tries once more. False when there is nothing to try again.
bool RemadeMissingFolder(const std::string& target) {
  const std::string folder = NormalFolderPath(Split(target).folder);
  if (!ForgetMadeFolder(folder)) return false;
  const HRESULT made = CreateFolders(FromUtf8(folder), folder);
  // The operation's own failure is what the caller reports, not this one's.
  if (FAILED(made)) TakeErrorDescription();
  if (made != S_OK) return false;
  RememberMadeFolder(folder);
  return true;
}

// ---- copying ----------------------------------------------------------------------------------

constexpr std::size_t kCopyChunk = 1 << 20;

// Writes `pieces` one after the other, in one call unless the system writes less. Returns 0 or
// an errno.
int WritePieces(int fd, std::span<const std::string_view> pieces) {
  constexpr std::size_t kBatch = 8;
  std::size_t next = 0;  // the first piece not written whole, `done` bytes of it written
  std::size_t done = 0;
  while (next < pieces.size()) {
    std::array<iovec, kBatch> batch{};
    std::size_t count = 0;
    std::size_t total = 0;
    for (std::size_t i = next; i < pieces.size() && count < kBatch; ++i, ++count) {
      const std::size_t skip = i == next ? done : 0;
      batch[count] = {const_cast<char*>(pieces[i].data() + skip), pieces[i].size() - skip};
      total += pieces[i].size() - skip;
    }
    ssize_t written = 0;
    if (total > 0) {
      written = ::writev(fd, batch.data(), static_cast<int>(count));
      if (written < 0 && errno == EINTR) continue;
      if (written < 0) return errno;
      if (written == 0) return EIO;
    }
    auto left = static_cast<std::size_t>(written);
    while (next < pieces.size() && left >= pieces[next].size() - done) {
      left -= pieces[next].size() - done;
      done = 0;
      ++next;
    }
    done += left;
  }
  return 0;
}

bool WriteAll(int fd, const char* data, std::size_t size, int* error) {
  while (size > 0) {
    const ssize_t written = ::write(fd, data, size);
    if (written < 0) {
      if (errno == EINTR) continue;
      *error = errno;
      return false;
    }
    data += written;
    size -= static_cast<std::size_t>(written);
  }
  return true;
}

// Target folders whose file system refused a shared-extent clone (most do) while the run
// memory is on: copies there do not ask again.
std::mutex g_cloneRefusedLock;
std::set<std::string, std::less<>> g_cloneRefusedFolders;

bool CloneRefusedIn(const std::string& folder) {
  if (!RunMemoryOn()) return false;
  std::lock_guard guard(g_cloneRefusedLock);
  return g_cloneRefusedFolders.contains(folder);
}

void RememberCloneRefused(const std::string& folder) {
  if (!RunMemoryOn()) return;
  std::lock_guard guard(g_cloneRefusedLock);
  g_cloneRefusedFolders.insert(folder);
}

// Below this size a read-ahead hint costs more than it saves: the file is one chunk.
constexpr off_t kSequentialHintSize = 1 << 20;

// Copies every byte of `in` (of `size` bytes when asked) to the empty `out`: a shared-extent
// clone where the file system offers one, else an in-kernel copy, else plain reads and
// writes. `*cloneRefused` says whether to try the clone, and is set when the file system
// refuses clones. Returns 0 or an errno.
int CopyContents(int in, int out, off_t size, bool* cloneRefused) {
  if (!*cloneRefused) {
    if (::ioctl(out, FICLONE, in) == 0) return 0;
    *cloneRefused = errno == EOPNOTSUPP || errno == ENOTTY;
  }
  if (size >= kSequentialHintSize) ::posix_fadvise(in, 0, 0, POSIX_FADV_SEQUENTIAL);
  bool kernelCopy = true;
  off_t copied = 0;
  while (kernelCopy) {
    const ssize_t n = ::copy_file_range(in, nullptr, out, nullptr, kCopyChunk, 0);
    if (n > 0) {
      copied += n;
      // The size asked at the start ends the copy without a call that finds the end; a file
      // still being written is copied as it was then. Special files report no size.
      if (size > 0 && copied == size) return 0;
      continue;
    }
    if (n == 0) return 0;
    if (errno == EINTR) continue;
    // Older kernels, other file systems and special files refuse before the first byte.
    if (copied == 0 && (errno == EXDEV || errno == ENOSYS || errno == EINVAL ||
                        errno == EOPNOTSUPP || errno == EBADF || errno == EPERM)) {
      kernelCopy = false;
    } else {
      return errno;
    }
  }
  std::vector<char> buffer(kCopyChunk);
  for (;;) {
    const ssize_t got = ::read(in, buffer.data(), buffer.size());
    if (got == 0) return 0;
    if (got < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    int error = 0;
    if (!WriteAll(out, buffer.data(), static_cast<std::size_t>(got), &error)) return error;
  }
}

// Set when this system made a file without a name and then could not name it: later copies go
// straight to a temporary name.
std::atomic<bool> g_unnamedRefused{false};

// Set when naming a file by its descriptor alone was refused (it takes a privilege): later
// files are named through /proc.
std::atomic<bool> g_emptyPathRefused{false};

// Whether a file without a name can be given one through /proc, checked once.
bool CanLinkUnnamedFiles() {
#ifdef O_TMPFILE
  static const bool available = ::access("/proc/self/fd", X_OK) == 0;
  return available;
#else
  return false;
#endif
}

// A copy written into the target folder that no one sees before it is complete: a file without
// a name where the file system allows one (nothing is left behind after a crash), else a file
// under a temporary name, removed again unless it was given its final name. Paths, not an open
// folder: opening the folder for each copy cost two more system calls.
class TemporaryCopy {
 public:
  TemporaryCopy() = default;
  ~TemporaryCopy() {
    if (!name_.empty()) ::unlink(Inside(name_).c_str());
  }
  TemporaryCopy(const TemporaryCopy&) = delete;
  TemporaryCopy& operator=(const TemporaryCopy&) = delete;

  // Creates the empty copy in `folder`; `unnamed` allows a file without a name, for a copy that
  // will not replace a file. Returns 0 or an errno (ENOENT: the folder is missing).
  // `access` is O_WRONLY, or O_RDWR for writers that read back what they wrote; `mode` is
  // the mode asked for at creation (less the umask).
  int Open(const std::string& folder, bool unnamed, int access = O_WRONLY, mode_t mode = 0600) {
    folder_ = folder;
#ifdef O_TMPFILE
    if (unnamed && CanLinkUnnamedFiles()) {
      out_ = UniqueFd(::open(folder.c_str(), O_TMPFILE | access | O_CLOEXEC, mode));
      if (out_.valid()) return 0;
      // File systems without unnamed files say so in one of three ways.
      if (errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL) return errno;
    }
#endif
    for (int attempt = 0; attempt < 16; ++attempt) {
      std::string name = TemporaryName();
      out_ = UniqueFd(::open(Inside(name).c_str(), access | O_CREAT | O_EXCL | O_CLOEXEC, mode));
      if (out_.valid()) {
        name_ = std::move(name);
        return 0;
      }
      if (errno != EEXIST) return errno;
    }
    return EEXIST;
  }

  // Fills the copy from the open `source` (described by `info`): contents, permissions and
  // times, flushed to the device when `flush`. `*cloneRefused` as CopyContents; `modeSet`: the
  // file was made with its final mode. Returns 0 or an errno.
  int Fill(int source, const struct stat& info, bool flush, bool* cloneRefused, bool modeSet) {
    if (const int error = CopyContents(source, out_.get(), info.st_size, cloneRefused);
        error != 0) {
      return error;
    }
    if (!modeSet && ::fchmod(out_.get(), info.st_mode & 0777) != 0) return errno;
    const struct timespec times[2] = {info.st_atim, info.st_mtim};
    if (::futimens(out_.get(), times) != 0) return errno;
    if (flush && ::fsync(out_.get()) != 0) return errno;
    // An unnamed file lives only as long as its descriptor: it stays open until it is named.
    return name_.empty() ? 0 : out_.Close();
  }

  // The open file, for a writer that fills it itself.
  int descriptor() const noexcept { return out_.get(); }

  // Ends what a writer filled through descriptor(): permissions `mode`, flushed to the device.
  // Returns 0 or an errno.
  int Seal(mode_t mode) {
    if (::fchmod(out_.get(), mode) != 0 || ::fsync(out_.get()) != 0) return errno;
    return name_.empty() ? 0 : out_.Close();
  }

  // Fills the copy with `contents`, gives it the owner and permissions in `like` (those of a
  // new file without it) and, when `lastWrite` is given, that last-write time, then flushes it.
  // `made` tells what the file got at creation: an owner it already has is not given again,
  // and `modeMade` says that the mode is right already. Returns 0 or an errno.
  int FillWith(std::span<const std::string_view> pieces, const struct stat* like,
               const struct timespec* lastWrite, const NewFileDefaults* made, bool modeMade) {
    if (const int error = WritePieces(out_.get(), pieces); error != 0) return error;
    if (like != nullptr) {
      // Only root can give a file away; anyone else keeps their own file and, at worst, their
      // own group, which is better than refusing the write.
      if (made == nullptr || like->st_uid != EffectiveUser() || like->st_gid != made->group) {
        (void)::fchown(out_.get(), like->st_uid, like->st_gid);
      }
      if (!modeMade && ::fchmod(out_.get(), like->st_mode & 07777) != 0) return errno;
    } else if (!modeMade && ::fchmod(out_.get(), 0666 & ~Umask()) != 0) {
      return errno;
    }
    if (lastWrite != nullptr) {
      const struct timespec times[2] = {{0, UTIME_OMIT}, *lastWrite};
      if (::futimens(out_.get(), times) != 0) return errno;
    }
    // Each file is flushed on its own. Flushes of several workers at once already share one
    // journal commit on ext4, and one flush of the whole file system for a group of files
    // (syncfs) measured slower, since it also waits for every other program's writes.
    if (::fsync(out_.get()) != 0) return errno;
    return name_.empty() ? 0 : out_.Close();
  }

  // Whether the copy was made without a name.
  bool unnamed() const noexcept { return name_.empty() && out_.valid(); }

  // Gives the copy its final `name` in the folder: never over an existing file when `replace`
  // is false, even when another process creates that name meanwhile. With `replace` and a
  // `replaced`, an existing file is swapped out instead of dropped where the file system can
  // swap names: it stays under a temporary name, given in *replaced, for the caller to remove or
  // to swap back. Returns 0 or an errno.
  int Publish(const std::string& name, bool replace, std::string* replaced = nullptr) {
    const std::string target = Inside(name);
    if (name_.empty()) {
      // A link never replaces a name: a copy that is to replace one is linked under a temporary
      // name first, then renamed, so that only that instant can leave a (removable) name behind.
      if (!replace) return LinkUnnamed(target);
      if (const int error = NameUnnamed(); error != 0) return error;
    }
    const std::string temporary = Inside(name_);
    if (replace) {
      if (replaced != nullptr && ::renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, target.c_str(),
                                             RENAME_EXCHANGE) == 0) {
        *replaced = temporary;
        name_.clear();
        return 0;
      }
      // No file to swap with, or a file system that cannot swap: the old file goes now.
      if (::rename(temporary.c_str(), target.c_str()) != 0) return errno;
      name_.clear();
      return 0;
    }
    if (::renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0) {
      name_.clear();
      return 0;
    }
    if (errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP) return errno;
    // File systems without an exclusive rename still refuse to link over an existing name.
    if (::link(temporary.c_str(), target.c_str()) != 0) return errno;
    return 0;  // the destructor removes the temporary name, the link stays
  }

 private:
  std::string Inside(const std::string& name) const {
    return folder_ == "/" ? folder_ + name : folder_ + "/" + name;
  }

  // Links the unnamed copy at `path`, which must not exist. Returns 0 or an errno.
  int LinkUnnamed(const std::string& path) {
    // A process allowed to search every folder names the descriptor itself, which spares the
    // walk through /proc (a tenth of a replacement's CPU time); others are refused once.
    if (!g_emptyPathRefused.load(std::memory_order_relaxed)) {
      if (::linkat(out_.get(), "", AT_FDCWD, path.c_str(), AT_EMPTY_PATH) == 0) {
        out_.Reset();
        return 0;
      }
      if (errno == EEXIST) return EEXIST;
    }
    char self[48];
    std::snprintf(self, sizeof self, "/proc/self/fd/%d", out_.get());
    if (::linkat(AT_FDCWD, self, AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) != 0) return errno;
    g_emptyPathRefused.store(true, std::memory_order_relaxed);
    out_.Reset();
    return 0;
  }

  // Links the unnamed copy under a fresh temporary name, kept in name_. Returns 0 or an errno.
  int NameUnnamed() {
    for (int attempt = 0; attempt < 16; ++attempt) {
      std::string name = TemporaryName();
      const int error = LinkUnnamed(Inside(name));
      if (error == 0) {
        name_ = std::move(name);
        return 0;
      }
      if (error != EEXIST) return error;
    }
    return EEXIST;
  }

  std::string folder_;
  UniqueFd out_;
  std::string name_;
};

// Folders (one per file system) that hold copies not yet flushed to their device, and every
// folder already noted since the last flush, so that its device is not asked for again.
std::mutex g_unflushedLock;
std::map<dev_t, std::string> g_unflushedFolders;
std::set<std::string, std::less<>> g_notedFolders;

// Notes the file system of the folder `path` for FlushDeferredCopies.
void RememberUnflushedCopy(const std::string& path) {
  {
    std::lock_guard guard(g_unflushedLock);
    if (g_notedFolders.contains(path)) return;
  }
  struct stat info {};
  // The copy was just made there; a folder that cannot be asked has nothing left to flush.
  if (::stat(path.c_str(), &info) != 0) return;
  std::lock_guard guard(g_unflushedLock);
  g_unflushedFolders.try_emplace(info.st_dev, path);
  g_notedFolders.insert(path);
}

struct CopyRequest {
  std::wstring_view source;
  std::wstring_view target;
  bool replace = false;
  const wchar_t* verb = L"Cannot copy";
  bool flush = true;
  bool flushLater = false;  // left for FlushDeferredCopies
  const CopyLock* lock = nullptr;
  // With `replace`: receives the path under which the replaced file was kept, if it was.
  std::string* replaced = nullptr;
};

// The copy shared by CopyFileTo and a move across volumes; on success the target name holds the
// complete copy. `sourceInfo` receives what the source was.
HRESULT CopyThroughTemporary(const CopyRequest& request, struct stat* sourceInfo) {
  const std::string source = ToUtf8(request.source);
  const std::string target = ToUtf8(request.target);
  // Made only for a failure: a copy that succeeds costs no text.
  const auto context = [&] {
    return std::wstring(request.verb) + L" " + Quoted(request.source) + L" to " +
           Quoted(request.target);
  };

  UniqueFd in(::open(source.c_str(), O_RDONLY | O_CLOEXEC));
  if (!in.valid()) {
    return HresultFromErrno(RefineMissing(errno, source),
                            std::wstring(request.verb) + L" " + Quoted(request.source));
  }
  if (::fstat(in.get(), sourceInfo) != 0)
    return HresultFromErrno(errno, std::wstring(request.verb) + L" " + Quoted(request.source));
  if (S_ISDIR(sourceInfo->st_mode)) {
    return Fail(E_ACCESSDENIED, context() + L": the source is a folder.");
  }

  // A copy that must not replace asks nothing beforehand: its exclusive link or rename refuses an
  // existing name, and only then is the name looked at, for the message.
  const auto refusal = [&](const struct stat& targetInfo) {
    return S_ISDIR(targetInfo.st_mode)
               ? Fail(E_ACCESSDENIED, context() + L": a folder of that name exists.")
               : Fail(HRESULT_FROM_WIN32(ERROR_FILE_EXISTS), context() + L": the file exists.");
  };
  struct stat targetInfo {};
  if (request.replace && ::stat(target.c_str(), &targetInfo) == 0) {
    if (S_ISDIR(targetInfo.st_mode)) return refusal(targetInfo);
    if (IsReadOnly(targetInfo)) {
      return Fail(E_ACCESSDENIED, context() + L": the existing file is read-only.");
    }
  }

  const SplitPath parts = Split(target);
  RemoveStaleTemporaries(parts.folder);
  const bool cloneKnownRefused = CloneRefusedIn(parts.folder);
  bool cloneRefused = cloneKnownRefused;
  // The copy is made with its final mode where the folder gives new files the mode asked (asked
  // once per folder), which spares a change of mode per file. A mode without the owner's write
  // permission is left for the end: the copy must be written first.
  const mode_t mode = sourceInfo->st_mode & 0777;
  const bool makeWithMode = (mode & S_IWUSR) != 0 && (mode & Umask()) == 0;
  const std::optional<NewFileDefaults> defaults =
      makeWithMode ? DefaultsIn(parts.folder) : std::nullopt;
  const bool modeKnownHonoured = defaults && defaults->modeAsAsked;
  // Makes and fills the copy: 0, or an errno with the HRESULT to return in *failed.
  const auto write = [&](TemporaryCopy& copy, bool unnamed, HRESULT* failed) {
    // Making the file is under the lock too: on ext4, unnamed files made by two threads at
    // once contend in the file system, and a run of small copies took three times as long.
    VolumeLockGuard lock;
    if (request.lock != nullptr) {
      *failed =
          AcquireVolumeLock(request.lock->volumeKey, request.lock->slots, kWaitForever, &lock);
      if (FAILED(*failed)) return EIO;
    }
    const mode_t madeMode = modeKnownHonoured ? mode : 0600;
    int error = copy.Open(parts.folder, unnamed, O_WRONLY, madeMode);
    if (error == ENOENT && RemadeMissingFolder(target)) {
      error = copy.Open(parts.folder, unnamed, O_WRONLY, madeMode);
    }
    if (error == ENOENT || error == ENOTDIR) {
      *failed = HresultFromErrno(ENOTDIR, L"Cannot open the folder of " + Quoted(request.target));
      return ENOTDIR;
    }
    if (error == 0) {
      error = copy.Fill(in.get(), *sourceInfo, request.flush, &cloneRefused, modeKnownHonoured);
    }
    if (error != 0) *failed = HresultFromErrno(error, context());
    return error;
  };

  HRESULT failed = S_OK;
  TemporaryCopy copy;
  const bool unnamed = !g_unnamedRefused.load(std::memory_order_relaxed);
  if (write(copy, unnamed, &failed) != 0) return failed;
  if (cloneRefused && !cloneKnownRefused) RememberCloneRefused(parts.folder);
  if (const DWORD fault = InjectedFault(FileStep::kPublish, request.target); fault != 0) {
    return InjectedFailure(fault, request.verb, request.target);
  }
  int error = 0;
  if (copy.unnamed()) {
    const DWORD fault = InjectedFault(FileStep::kNameUnnamed, request.target);
    error = fault != 0 ? EPERM : copy.Publish(parts.name, request.replace, request.replaced);
    if (error != 0 && error != EEXIST && copy.unnamed()) {
      // The system made a file without a name but cannot give it one (no usable /proc in a
      // sandbox, say): the copy is made again under a temporary name, from the start.
      if (fault == 0) g_unnamedRefused.store(true, std::memory_order_relaxed);
      TemporaryCopy named;
      if (::lseek(in.get(), 0, SEEK_SET) != 0) return HresultFromErrno(errno, context());
      if (write(named, false, &failed) != 0) return failed;
      error = named.Publish(parts.name, request.replace, request.replaced);
    }
  } else {
    error = copy.Publish(parts.name, request.replace, request.replaced);
  }
  if (error != 0) {
    if (error == EEXIST || error == EISDIR) {
      if (::stat(target.c_str(), &targetInfo) != 0) targetInfo.st_mode = S_IFREG;
      return refusal(targetInfo);
    }
    return HresultFromErrno(error, context());
  }
  NoteNativeFileAdded(target);
  if (request.flushLater) RememberUnflushedCopy(parts.folder);
  return S_OK;
}

int SyncFolderOf(const std::string& path) {
  UniqueFd folder(::open(Split(path).folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder.valid()) return errno;
  return ::fsync(folder.get()) == 0 ? 0 : errno;
}

HRESULT MoveAcrossVolumes(std::wstring_view source, std::wstring_view target, bool replace,
                          bool* copyTakenBack) {
  const std::string nativeSource = ToUtf8(source);
  const std::string nativeTarget = ToUtf8(target);
  struct stat info {};
  if (::lstat(nativeSource.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) {
    return Fail(HRESULT_FROM_WIN32(ERROR_NOT_SAME_DEVICE),
                L"Cannot move the folder " + Quoted(source) + L" to another volume.");
  }
  // A file replaced by the copy is kept aside until the source is gone, so that a move that
  // cannot finish puts it back.
  std::string replaced;
  CopyRequest request{source, target, replace, L"Cannot move", true};
  request.replaced = &replaced;
  LMK_RETURN_IF_FAILED(CopyThroughTemporary(request, &info));
  // The new name must be on the device before the old file goes.
  int error = SyncFolderOf(nativeTarget);
  DWORD fault = error != 0 ? Win32FromErrno(error) : InjectedFault(FileStep::kRemoveSource, source);
  if (fault == 0 && ::unlink(nativeSource.c_str()) != 0) fault = Win32FromErrno(errno);
  if (fault == 0) {
    if (!replaced.empty()) (void)::unlink(replaced.c_str());
    return S_OK;
  }
  // The source stays, so the copy goes: the file then stands in one place, as before the move.
  // A source that vanished meanwhile leaves the copy as the only file, which stays.
  const bool takenBack = ::lstat(nativeSource.c_str(), &info) != 0 ? false
                         : replaced.empty()
                             ? ::unlink(nativeTarget.c_str()) == 0
                             : ::renameat2(AT_FDCWD, replaced.c_str(), AT_FDCWD,
                                           nativeTarget.c_str(), RENAME_EXCHANGE) == 0 &&
                                   ::unlink(replaced.c_str()) == 0;
  if (copyTakenBack != nullptr) *copyTakenBack = takenBack;
  if (takenBack) {
    const wchar_t* why = error != 0 ? L": the copy could not be flushed to the device, so it was "
                                      L"taken back."
                                    : L": the original could not be removed, so the copy was "
                                      L"taken back.";
    return Fail(HRESULT_FROM_WIN32(fault),
                L"Cannot move " + Quoted(source) + L" to " + Quoted(target) + why);
  }
  return Fail(HRESULT_FROM_WIN32(fault), L"Moved " + Quoted(source) + L" to " + Quoted(target) +
                                             L" but could not remove the original.");
}

// The replacement behind both forms of ReplaceFileContents: `native` is the file itself (a
// link resolved), `info` what it was, or null for a file to be created.
HRESULT ReplaceWith(std::wstring_view path, const std::string& native, const struct stat* info,
                    std::span<const std::string_view> pieces, ReplacedFileTime time) {
  // Made only for a failure: most writes succeed.
  const auto context = [path] { return L"Cannot write " + Quoted(path); };
  if (info != nullptr && S_ISDIR(info->st_mode)) {
    return Fail(E_ACCESSDENIED, context() + L": it is a folder.");
  }
  if (info != nullptr && IsReadOnly(*info)) {
    return Fail(E_ACCESSDENIED, context() +
                                    L": the file is read-only. Make it writable (chmod u+w) "
                                    L"and run the rules again.");
  }
  const SplitPath parts = Split(native);
  RemoveStaleTemporaries(parts.folder);
  // The new file is made with its final mode where the umask and the folder let that mode
  // through unchanged, which spares an fchmod per file.
  const std::optional<NewFileDefaults> made = DefaultsIn(parts.folder);
  const mode_t mode = info != nullptr ? info->st_mode & 07777 : 0666 & ~Umask();
  const bool modeMade = made && made->modeAsAsked && (mode & 07000) == 0 && (mode & Umask()) == 0;
  TemporaryCopy copy;
  int error = copy.Open(parts.folder, !g_unnamedRefused.load(std::memory_order_relaxed), O_WRONLY,
                        modeMade ? mode : 0600);
  if (error == EACCES || error == EPERM || error == EROFS) {
    return Fail(E_ACCESSDENIED, context() +
                                    L": its folder does not allow new files, and the file "
                                    L"is never rewritten in place. Make the folder "
                                    L"writable and run the rules again.");
  }
  if (error == ENOENT || error == ENOTDIR) error = RefineMissing(ENOENT, native);
  if (error == 0) {
    error = copy.FillWith(
        pieces, info, info != nullptr && time == ReplacedFileTime::kKeep ? &info->st_mtim : nullptr,
        made ? &*made : nullptr, modeMade);
  }
  if (error != 0) return HresultFromErrno(error, context());
  if (const DWORD fault = InjectedFault(FileStep::kPublish, path); fault != 0) {
    return InjectedFailure(fault, L"Cannot write", path);
  }
  // The contents are on the device before the rename, so whenever the rename itself reaches it
  // the name holds a whole file; waiting for the folder too would double the cost of a write.
  error = copy.Publish(parts.name, true);
  if (error != 0) return HresultFromErrno(error, context());
  NoteFileAdded(path);
  return S_OK;
}

}  // namespace

// ---- the interface ----------------------------------------------------------------------------

ScopedFileFaultHook::ScopedFileFaultHook(FileFaultHook hook) {
  std::lock_guard lock(g_hookMutex);
  previous_ = std::move(g_hook);
  g_hook = std::move(hook);
  g_hookInstalled.store(static_cast<bool>(g_hook), std::memory_order_release);
}

ScopedFileFaultHook::~ScopedFileFaultHook() {
  std::lock_guard lock(g_hookMutex);
  g_hook = std::move(previous_);
  g_hookInstalled.store(static_cast<bool>(g_hook), std::memory_order_release);
}

HRESULT CopyFileTo(std::wstring_view source, std::wstring_view target, bool failIfExists,
                   CopyDurability durability, const CopyLock* lock) {
  if (source.empty() || target.empty()) return E_INVALIDARG;
  if (const DWORD fault = InjectedFault(FileStep::kCopy, source); fault != 0) {
    return InjectedFailure(fault, L"Cannot copy", source);
  }
  struct stat info {};
  return CopyThroughTemporary(
      {source, target, !failIfExists, L"Cannot copy", durability == CopyDurability::kFlushToDevice,
       durability == CopyDurability::kFlushLater, lock},
      &info);
}

HRESULT WriteNewFile(std::wstring_view target, bool replace,
                     const std::function<HRESULT(int descriptor)>& fill) {
  if (target.empty() || !fill) return E_INVALIDARG;
  const std::string native = ToUtf8(target);
  const std::wstring context = L"Cannot write " + Quoted(target);
  struct stat targetInfo {};
  if (::stat(native.c_str(), &targetInfo) == 0) {
    if (S_ISDIR(targetInfo.st_mode)) {
      return Fail(E_ACCESSDENIED, context + L": a folder of that name exists.");
    }
    if (!replace)
      return Fail(HRESULT_FROM_WIN32(ERROR_FILE_EXISTS), context + L": the file exists.");
    if (IsReadOnly(targetInfo)) {
      return Fail(E_ACCESSDENIED, context + L": the existing file is read-only.");
    }
  }
  // New files get the permissions the user's umask gives, as any program's new file; it is
  // read once, since reading it means setting it for an instant.
  static const mode_t kMode = 0666 & ~Umask();
  const SplitPath parts = Split(native);
  RemoveStaleTemporaries(parts.folder);
  // Makes, fills and names the file: 0, or an errno; *failed carries the writer's own failure.
  const auto write = [&](bool unnamed, bool* namingRefused, HRESULT* failed) {
    TemporaryCopy file;
    int error = file.Open(parts.folder, unnamed, O_RDWR);
    if (error == ENOENT && RemadeMissingFolder(native))
      error = file.Open(parts.folder, unnamed, O_RDWR);
    if (error == ENOENT) error = ENOTDIR;
    if (error != 0) return error;
    if (*failed = fill(file.descriptor()); FAILED(*failed)) return EIO;
    if ((error = file.Seal(kMode)) != 0) return error;
    if (const DWORD fault = InjectedFault(FileStep::kPublish, target); fault != 0) {
      *failed = InjectedFailure(fault, L"Cannot write", target);
      return EIO;
    }
    error = file.Publish(parts.name, replace);
    *namingRefused = error != 0 && error != EEXIST && file.unnamed();
    return error;
  };
  HRESULT failed = S_OK;
  bool namingRefused = false;
  int error = write(!g_unnamedRefused.load(std::memory_order_relaxed), &namingRefused, &failed);
  if (namingRefused) {
    // A file without a name that cannot be given one (no usable /proc): written again under a
    // temporary name, from the start.
    g_unnamedRefused.store(true, std::memory_order_relaxed);
    failed = S_OK;
    error = write(false, &namingRefused, &failed);
  }
  if (FAILED(failed)) return failed;
  if (error == EEXIST) {
    return Fail(HRESULT_FROM_WIN32(ERROR_FILE_EXISTS), context + L": the file exists.");
  }
  if (error == ENOTDIR)
    return HresultFromErrno(ENOTDIR, L"Cannot open the folder of " + Quoted(target));
  if (error != 0) return HresultFromErrno(error, context);
  NoteFileAdded(target);
  return S_OK;
}

HRESULT ReplaceFileContents(std::wstring_view path, std::string_view contents,
                            ReplacedFileTime time) {
  return ReplaceFileContents(path, std::span<const std::string_view>(&contents, 1), time);
}

HRESULT ReplaceFileContents(std::wstring_view path, std::span<const std::string_view> pieces,
                            ReplacedFileTime time) {
  if (path.empty()) return E_INVALIDARG;
  std::string native = ToUtf8(path);
  // A link stays a link: the file it points to is the one replaced.
  struct stat info {};
  bool exists = ::lstat(native.c_str(), &info) == 0;
  if (exists && S_ISLNK(info.st_mode)) {
    std::unique_ptr<char, decltype(&std::free)> target(::realpath(native.c_str(), nullptr),
                                                       &std::free);
    if (!target) return HresultFromErrno(errno, L"Cannot write " + Quoted(path));
    native = target.get();
    exists = ::stat(native.c_str(), &info) == 0;
  }
  if (!exists && errno != ENOENT) return HresultFromErrno(errno, L"Cannot write " + Quoted(path));
  return ReplaceWith(path, native, exists ? &info : nullptr, pieces, time);
}

HRESULT ReadWholeFile(std::wstring_view path, std::string* contents, ReadFileFacts* facts) {
  if (path.empty() || contents == nullptr || facts == nullptr) return E_INVALIDARG;
  std::string native = ToUtf8(path);
  // Made only for a failure, from the errno saved before it.
  const auto fail = [path](int error) {
    return HresultFromErrno(error, L"Cannot read " + Quoted(path));
  };
  // Opened without following a link, so that a link is known without asking first; the file
  // it points to is the one a replacement replaces. Without blocking, should it be a pipe.
  constexpr int kFlags = O_RDONLY | O_CLOEXEC | O_NONBLOCK;
  UniqueFd in(::open(native.c_str(), kFlags | O_NOFOLLOW));
  if (!in.valid() && errno == ELOOP) {
    std::unique_ptr<char, decltype(&std::free)> target(::realpath(native.c_str(), nullptr),
                                                       &std::free);
    if (!target) return fail(RefineMissing(errno, native));
    native = target.get();
    in = UniqueFd(::open(native.c_str(), kFlags));
  }
  if (!in.valid()) return fail(RefineMissing(errno, native));
  struct stat info {};
  if (::fstat(in.get(), &info) != 0) return fail(errno);
  if (!S_ISREG(info.st_mode)) {
    return Fail(E_ACCESSDENIED, L"Cannot read " + Quoted(path) + L": it is not a file.");
  }
  contents->resize(static_cast<std::size_t>(info.st_size));
  std::size_t got = 0;
  while (got < contents->size()) {
    const ssize_t read = ::read(in.get(), contents->data() + got, contents->size() - got);
    if (read < 0 && errno == EINTR) continue;
    if (read < 0) return fail(errno);
    if (read == 0) break;  // shortened meanwhile
    got += static_cast<std::size_t>(read);
  }
  contents->resize(got);
  facts->path = path;
  facts->nativePath = std::move(native);
  facts->mode = info.st_mode & 07777;
  facts->owner = info.st_uid;
  facts->group = info.st_gid;
  facts->lastWriteSeconds = info.st_mtim.tv_sec;
  facts->lastWriteNanoseconds = info.st_mtim.tv_nsec;
  return S_OK;
}

HRESULT ReplaceFileContents(const ReadFileFacts& facts, std::span<const std::string_view> pieces,
                            ReplacedFileTime time) {
  if (facts.path.empty() || facts.nativePath.empty()) return E_INVALIDARG;
  struct stat info {};
  info.st_mode = S_IFREG | static_cast<mode_t>(facts.mode);
  info.st_uid = static_cast<uid_t>(facts.owner);
  info.st_gid = static_cast<gid_t>(facts.group);
  info.st_mtim.tv_sec = static_cast<time_t>(facts.lastWriteSeconds);
  info.st_mtim.tv_nsec = facts.lastWriteNanoseconds;
  return ReplaceWith(facts.path, facts.nativePath, &info, pieces, time);
}

HRESULT FlushDeferredCopies() {
  std::map<dev_t, std::string> folders;
  {
    std::lock_guard guard(g_unflushedLock);
    folders.swap(g_unflushedFolders);
    // Copies after this point are noted afresh.
    g_notedFolders.clear();
  }
  HRESULT result = S_OK;
  for (const auto& [device, folder] : folders) {
    UniqueFd fd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
#ifdef __linux__
    const bool flushed = fd.valid() && ::syncfs(fd.get()) == 0;
#else
    // Without a per-file-system flush, flush them all.
    const bool flushed = fd.valid() && (::sync(), true);
#endif
    if (!flushed && SUCCEEDED(result)) {
      result = HresultFromErrno(
          errno, L"Cannot flush the copies in " + Quoted(FromUtf8(folder)) + L" to the device");
    }
  }
  return result;
}

HRESULT MoveFileTo(std::wstring_view source, std::wstring_view target, DWORD flags,
                   bool* copyTakenBack) {
  if (copyTakenBack != nullptr) *copyTakenBack = false;
  if (source.empty() || target.empty()) return E_INVALIDARG;
  if (const DWORD fault = InjectedFault(FileStep::kRename, source); fault != 0) {
    return InjectedFailure(fault, L"Cannot move", source);
  }
  const std::string from = ToUtf8(source);
  const std::string to = ToUtf8(target);
  const bool replace = (flags & kMoveReplaceExisting) != 0;
  // Made only for a failure: a rename that succeeds costs no text.
  const auto context = [&] { return L"Cannot move " + Quoted(source) + L" to " + Quoted(target); };

  struct stat targetInfo {};
  if (replace && ::stat(to.c_str(), &targetInfo) == 0 && !S_ISDIR(targetInfo.st_mode) &&
      IsReadOnly(targetInfo)) {
    return Fail(E_ACCESSDENIED, context() + L": the existing file is read-only.");
  }
  const auto rename = [&] {
    const int result =
        replace ? ::rename(from.c_str(), to.c_str())
                : ::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE);
    int error = result == 0 ? 0 : errno;
    if (!replace && (error == EINVAL || error == ENOSYS || error == EOPNOTSUPP)) {
      // No exclusive rename here: a link refuses an existing name just as well.
      struct stat sourceInfo {};
      if (::lstat(from.c_str(), &sourceInfo) == 0 && !S_ISDIR(sourceInfo.st_mode)) {
        error = ::link(from.c_str(), to.c_str()) == 0 ? 0 : errno;
        if (error == 0 && ::unlink(from.c_str()) != 0) error = errno;
      }
    }
    return error;
  };
  int error = rename();
  if (error == ENOENT && RemadeMissingFolder(to)) error = rename();
  if (error == 0) {
    NoteNativeFileAdded(to);
    // A folder moved away takes the folders made below it along.
    ForgetMadeFolder(NormalFolderPath(from));
    return S_OK;
  }
  if (error == EXDEV) {
    if ((flags & kMoveCopyAllowed) == 0) {
      return Fail(HRESULT_FROM_WIN32(ERROR_NOT_SAME_DEVICE),
                  context() + L": the target is on another volume.");
    }
    return MoveAcrossVolumes(source, target, replace, copyTakenBack);
  }
  if (error == EEXIST || error == ENOTEMPTY) {
    return Fail(HRESULT_FROM_WIN32(ERROR_FILE_EXISTS), context() + L": the target exists.");
  }
  if (error == ENOENT) {
    struct stat sourceInfo {};
    error = ::lstat(from.c_str(), &sourceInfo) == 0 ? ENOTDIR : RefineMissing(ENOENT, from);
  }
  return HresultFromErrno(error, context());
}

HRESULT MakeHardLink(std::wstring_view link, std::wstring_view existing) {
  if (link.empty() || existing.empty()) return E_INVALIDARG;
  if (const DWORD fault = InjectedFault(FileStep::kLink, link); fault != 0) {
    return InjectedFailure(fault, L"Cannot create the link", link);
  }
  const std::string from = ToUtf8(existing);
  const std::string to = ToUtf8(link);
  int error = ::link(from.c_str(), to.c_str()) == 0 ? 0 : errno;
  if (error == ENOENT && RemadeMissingFolder(to)) {
    error = ::link(from.c_str(), to.c_str()) == 0 ? 0 : errno;
  }
  if (error == 0) {
    NoteNativeFileAdded(to);
    return S_OK;
  }
  if (error == EEXIST) {
    return Fail(HRESULT_FROM_WIN32(ERROR_FILE_EXISTS),
                L"Cannot create the link " + Quoted(link) + L": the file exists.");
  }
  if (error == ENOENT) {
    struct stat info {};
    error = ::lstat(from.c_str(), &info) == 0 ? ENOTDIR : RefineMissing(ENOENT, from);
  }
  return HresultFromErrno(error, L"Cannot link to " + Quoted(existing) + L" from " + Quoted(link));
}

HRESULT DeleteFileAt(std::wstring_view path) {
  if (path.empty()) return E_INVALIDARG;
  if (const DWORD fault = InjectedFault(FileStep::kDelete, path); fault != 0) {
    return InjectedFailure(fault, L"Cannot delete", path);
  }
  const std::string native = ToUtf8(path);
  struct stat info {};
  if (::lstat(native.c_str(), &info) != 0) {
    return HresultFromErrno(RefineMissing(errno, native), L"Cannot delete " + Quoted(path));
  }
  if (S_ISDIR(info.st_mode))
    return Fail(E_ACCESSDENIED, L"Cannot delete the folder " + Quoted(path) + L" as a file.");
  if (S_ISREG(info.st_mode) && IsReadOnly(info)) {
    return Fail(E_ACCESSDENIED, L"Cannot delete " + Quoted(path) + L": the file is read-only.");
  }
  if (::unlink(native.c_str()) != 0) {
    return HresultFromErrno(RefineMissing(errno, native), L"Cannot delete " + Quoted(path));
  }
  return S_OK;
}

HRESULT GetFileAttributesOf(std::wstring_view path, DWORD* attributes) {
  if (attributes == nullptr) return E_INVALIDARG;
  *attributes = 0;
  if (path.empty()) return E_INVALIDARG;
  const std::string native = ToUtf8(path);
  struct stat info {};
  if (::stat(native.c_str(), &info) != 0) return HresultFromErrno(RefineMissing(errno, native));
  DWORD bits = S_ISDIR(info.st_mode) ? kFileAttributeDirectory : kFileAttributeArchive;
  if (IsReadOnly(info)) bits |= kFileAttributeReadOnly;
  const std::string name = Split(native).name;
  if (name.size() > 1 && name[0] == '.' && name != "..") bits |= kFileAttributeHidden;
  *attributes = bits;
  return S_OK;
}

HRESULT SetFileAttributesOf(std::wstring_view path, DWORD attributes) {
  if (path.empty()) return E_INVALIDARG;
  const std::string native = ToUtf8(path);
  struct stat info {};
  if (::stat(native.c_str(), &info) != 0) return HresultFromErrno(RefineMissing(errno, native));
  const mode_t mode = info.st_mode & 07777;
  const mode_t wanted = (attributes & kFileAttributeReadOnly) != 0
                            ? mode & ~static_cast<mode_t>(S_IWUSR | S_IWGRP | S_IWOTH)
                            : mode | S_IWUSR;
  if (wanted == mode) return S_OK;
  if (::chmod(native.c_str(), wanted) != 0) {
    return HresultFromErrno(errno, L"Cannot change the attributes of " + Quoted(path));
  }
  return S_OK;
}

HRESULT SetFileTimesOf(std::wstring_view path, const FILETIME* lastAccess,
                       const FILETIME* lastWrite) {
  if (path.empty()) return E_INVALIDARG;
  // 100-ns ticks between 1601-01-01 and 1970-01-01.
  constexpr int64_t kEpochTicks = 116444736000000000LL;
  auto toTimespec = [](const FILETIME* time) {
    struct timespec stamp {
      0, UTIME_OMIT
    };
    if (time != nullptr) {
      const int64_t ticks =
          static_cast<int64_t>((static_cast<uint64_t>(time->dwHighDateTime) << 32) |
                               time->dwLowDateTime) -
          kEpochTicks;
      int64_t seconds = ticks / 10000000;
      int64_t rest = ticks % 10000000;
      if (rest < 0) {
        rest += 10000000;
        --seconds;
      }
      stamp.tv_sec = static_cast<time_t>(seconds);
      stamp.tv_nsec = static_cast<long>(rest * 100);
    }
    return stamp;
  };
  const struct timespec times[2] = {toTimespec(lastAccess), toTimespec(lastWrite)};
  const std::string native = ToUtf8(path);
  if (::utimensat(AT_FDCWD, native.c_str(), times, 0) != 0) {
    return HresultFromErrno(RefineMissing(errno, native),
                            L"Cannot set the times of " + Quoted(path));
  }
  return S_OK;
}

HRESULT GetFileSizeOf(std::wstring_view path, ULONGLONG* size) {
  if (size == nullptr) return E_INVALIDARG;
  *size = 0;
  if (path.empty()) return E_INVALIDARG;
  const std::string native = ToUtf8(path);
  struct stat info {};
  if (::stat(native.c_str(), &info) != 0) return HresultFromErrno(RefineMissing(errno, native));
  if (S_ISDIR(info.st_mode)) return E_ACCESSDENIED;
  *size = static_cast<ULONGLONG>(info.st_size);
  return S_OK;
}

bool FolderExists(std::wstring_view path) { return !path.empty() && IsFolder(ToUtf8(path)); }

bool IsSameFile(std::wstring_view first, std::wstring_view second) {
  struct stat one {};
  struct stat two {};
  return !first.empty() && !second.empty() && ::stat(ToUtf8(first).c_str(), &one) == 0 &&
         ::stat(ToUtf8(second).c_str(), &two) == 0 && one.st_dev == two.st_dev &&
         one.st_ino == two.st_ino;
}

HRESULT CreateDirectories(std::wstring_view path) {
  if (path.empty()) return E_INVALIDARG;
  const std::string native = ToUtf8(path);
  if (!RunMemoryOn()) return CreateFolders(path, native);
  std::string folder = NormalFolderPath(native);
  if (IsMadeFolder(folder)) return S_FALSE;
  const HRESULT hr = CreateFolders(path, native);
  if (SUCCEEDED(hr)) RememberMadeFolder(std::move(folder));
  return hr;
}

HRESULT RemoveEmptyDirectory(std::wstring_view path) {
  if (path.empty()) return E_INVALIDARG;
  if (const DWORD fault = InjectedFault(FileStep::kRemoveFolder, path); fault != 0) {
    return InjectedFailure(fault, L"Cannot remove the folder", path);
  }
  const std::string native = ToUtf8(path);
  struct stat info {};
  if (::lstat(native.c_str(), &info) != 0) {
    return HresultFromErrno(RefineMissing(errno, native),
                            L"Cannot remove the folder " + Quoted(path));
  }
  if (!S_ISDIR(info.st_mode))
    return HresultFromErrno(ENOTDIR, L"Cannot remove the folder " + Quoted(path));
  if (IsReadOnly(info)) {
    return Fail(E_ACCESSDENIED,
                L"Cannot remove the folder " + Quoted(path) + L": the folder is read-only.");
  }
  if (::rmdir(native.c_str()) != 0) {
    const int error = errno == EEXIST ? ENOTEMPTY : errno;
    return HresultFromErrno(error, L"Cannot remove the folder " + Quoted(path));
  }
  ForgetMadeFolder(NormalFolderPath(native));
  return S_OK;
}

void ForgetMadeFolders() {
  {
    std::lock_guard guard(g_madeLock);
    g_madeFolders.clear();
  }
  {
    std::lock_guard guard(g_sweptLock);
    g_sweptFolders.clear();
  }
  {
    std::lock_guard guard(g_defaultsLock);
    g_folderDefaults.clear();
  }
  std::lock_guard guard(g_cloneRefusedLock);
  g_cloneRefusedFolders.clear();
}

}  // namespace lmk
