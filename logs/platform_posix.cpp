// The system functions on POSIX systems. Everything that only Windows has answers as absent.
#include <dirent.h>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <utility>

#include "logs/parse_number.h"
#include "logs/platform.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

// An open file of the system, closed with its last owner.
struct Descriptor {
  int number = -1;
  explicit Descriptor(int opened) : number(opened) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (number >= 0) close(number);
  }
};

// Some file systems say only now that a block could not be written. An interrupted close has
// closed.
bool Close(Descriptor& file) {
  const int number = std::exchange(file.number, -1);
  return number < 0 || close(number) == 0 || errno == EINTR;
}

bool HoldsZeroByte(const std::string& path) { return path.find('\0') != std::string::npos; }

bool WriteAll(int number, std::string_view text) {
  while (!text.empty()) {
    const ssize_t wrote = write(number, text.data(), text.size());
    if (wrote < 0 && errno == EINTR) continue;
    if (wrote <= 0) return false;
    text.remove_prefix(static_cast<std::size_t>(wrote));
  }
  return true;
}

bool WriteAllAt(int number, std::uint64_t offset, std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t wrote = pwrite(number, bytes.data(), bytes.size(), static_cast<off_t>(offset));
    if (wrote < 0 && errno == EINTR) continue;
    if (wrote <= 0) return false;
    offset += static_cast<std::uint64_t>(wrote);
    bytes = bytes.subspan(static_cast<std::size_t>(wrote));
  }
  return true;
}

std::size_t ReadAllAt(int number, std::uint64_t offset, std::span<std::uint8_t> to) {
  constexpr auto kLastOffset = static_cast<std::uint64_t>(INT64_MAX);
  std::size_t done = 0;
  while (done < to.size() && offset <= kLastOffset - done) {
    const ssize_t got =
        pread(number, to.data() + done, to.size() - done, static_cast<off_t>(offset + done));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    done += static_cast<std::size_t>(got);
  }
  return done;
}

FileStretch StretchFrom(int number, std::uint64_t offset, std::uint64_t size) {
  if (offset >= size) return {size, size};
#if defined(SEEK_DATA) && defined(SEEK_HOLE)
  const off_t begin = lseek(number, static_cast<off_t>(offset), SEEK_DATA);
  if (begin < 0) return errno == ENXIO ? FileStretch{size, size} : FileStretch{offset, size};
  const off_t end = lseek(number, begin, SEEK_HOLE);
  if (end <= begin) return {static_cast<std::uint64_t>(begin), size};
  return {static_cast<std::uint64_t>(begin), std::min(static_cast<std::uint64_t>(end), size)};
#else
  static_cast<void>(number);
  return {offset, size};
#endif
}

std::optional<NewFile> OpenForBytes(const std::string& path, int flags) {
  if (path.empty() || HoldsZeroByte(path)) return std::nullopt;
  const auto file = std::make_shared<Descriptor>(open(path.c_str(), flags | O_CLOEXEC, 0666));
  if (file->number < 0) return std::nullopt;
  NewFile made;
  made.write = [file](std::uint64_t offset, std::span<const std::uint8_t> bytes) {
    return WriteAllAt(file->number, offset, bytes);
  };
  made.close = [file] { return Close(*file); };
  return made;
}

EntryKind KindOf(mode_t mode) {
  if (S_ISREG(mode)) return EntryKind::kFile;
  if (S_ISDIR(mode)) return EntryKind::kFolder;
  return S_ISLNK(mode) ? EntryKind::kLink : EntryKind::kOther;
}

// Not every file system keeps kinds beside names.
EntryKind KindOf(DIR* listing, const dirent& entry) {
  if (entry.d_type != DT_UNKNOWN) return KindOf(static_cast<mode_t>(DTTOIF(entry.d_type)));
  struct stat status {};
  if (fstatat(dirfd(listing), entry.d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
    return EntryKind::kOther;
  }
  return KindOf(status.st_mode);
}

// All names in a directory in byte order, without "." and "..".
std::vector<std::string> EntryNames(const std::string& directory) {
  std::vector<FolderEntry> entries;
  ListFolder(directory, entries);
  std::vector<std::string> names;
  names.reserve(entries.size());
  for (FolderEntry& entry : entries) names.push_back(std::move(entry.name));
  return names;
}

// Only the owner of a file and root may leave its time of last access alone.
int OpenForReading(const std::string& path) {
  // Without O_NONBLOCK a named pipe among the paths would hold up the whole run.
  constexpr int kFlags = O_RDONLY | O_CLOEXEC | O_NONBLOCK;
#ifdef O_NOATIME
  const int number = open(path.c_str(), kFlags | O_NOATIME);
  if (number >= 0 || errno != EPERM) return number;
#endif
  return open(path.c_str(), kFlags);
}

// Set by the one thread that writes.
bool reader_gone = false;

// The signal that asked the process to end; 0 while there is none.
volatile std::sig_atomic_t interrupt = 0;
void NoteInterrupt(int number) { interrupt = number; }

bool IsKind(const std::string& path, mode_t kind) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && (status.st_mode & S_IFMT) == kind;
}

// Looks for `parts` below `base`. The spelling as given is preferred; a volume may hold names that
// differ only in case, so the search comes back when the first candidate leads nowhere.
std::optional<std::string> FindBelow(const std::string& base, std::span<const std::string> parts) {
  if (parts.empty()) return base;
  const std::string& wanted = parts.front();
  const auto rest = parts.subspan(1);
  const auto below = [&](const std::string& name) { return FindBelow(base + name + "/", rest); };
  const bool exact = FileExists(base + wanted);
  if (exact) {
    if (rest.empty()) return base + wanted;
    if (auto found = below(wanted)) return found;
  }
  for (const std::string& name : EntryNames(base.empty() ? "." : base)) {
    if (name == wanted || !EqualsNoCase(name, wanted)) continue;
    if (rest.empty()) return base + name;
    if (auto found = below(name)) return found;
  }
  return std::nullopt;
}

}  // namespace

std::optional<InputFile> OpenInput(const std::string& path) {
  if (path.empty() || HoldsZeroByte(path)) return std::nullopt;
  const auto file = std::make_shared<Descriptor>(OpenForReading(path));
  if (file->number < 0) return std::nullopt;
  struct stat status {};
  if (fstat(file->number, &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  InputFile input;
  input.size = static_cast<std::uint64_t>(status.st_size);
  input.read = [file](std::uint64_t offset, std::span<std::uint8_t> to) {
    return ReadAllAt(file->number, offset, to);
  };
  return input;
}

std::optional<ImageFile> OpenImage(const std::string& path) {
  if (path.empty() || HoldsZeroByte(path)) return std::nullopt;
  const auto file = std::make_shared<Descriptor>(OpenForReading(path));
  if (file->number < 0) return std::nullopt;
  struct stat status {};
  if (fstat(file->number, &status) != 0) return std::nullopt;
  if (!S_ISREG(status.st_mode) && !S_ISBLK(status.st_mode)) return std::nullopt;
  // Of a device the end is the size.
  const off_t end = lseek(file->number, 0, SEEK_END);
  if (end < 0) return std::nullopt;
  const auto size = static_cast<std::uint64_t>(end);
  ImageFile image;
  image.file.size = size;
  image.file.read = [file](std::uint64_t offset, std::span<std::uint8_t> to) {
    return ReadAllAt(file->number, offset, to);
  };
  image.next_stretch = [file, size](std::uint64_t offset) {
    return StretchFrom(file->number, offset, size);
  };
  return image;
}

std::optional<std::function<bool(std::string_view)>> OpenOutput(const std::string& path,
                                                                bool append) {
  if (path.empty() || HoldsZeroByte(path)) return std::nullopt;
  const int flags = O_WRONLY | O_CREAT | O_CLOEXEC | (append ? O_APPEND : O_TRUNC);
  const auto file = std::make_shared<Descriptor>(open(path.c_str(), flags, 0666));
  if (file->number < 0) return std::nullopt;
  return [file](std::string_view text) {
    return text.empty() ? Close(*file) : WriteAll(file->number, text);
  };
}

std::optional<NewFile> MakeFile(const std::string& path) {
  return OpenForBytes(path, O_WRONLY | O_CREAT | O_EXCL);
}

std::optional<NewFile> ReopenFile(const std::string& path) { return OpenForBytes(path, O_WRONLY); }

bool RenameToNew(const std::string& from, const std::string& to) {
  if (HoldsZeroByte(from) || HoldsZeroByte(to)) return false;
  if (link(from.c_str(), to.c_str()) == 0) return unlink(from.c_str()) == 0;
  struct stat status {};
  // Not all file systems know files with two names.
  if (errno == EEXIST || lstat(to.c_str(), &status) == 0) return false;
  return rename(from.c_str(), to.c_str()) == 0;
}

std::optional<FileId> IdentifyFile(const std::string& path) {
  struct stat status {};
  if (path.empty() || HoldsZeroByte(path) || stat(path.c_str(), &status) != 0) return std::nullopt;
  return FileId{status.st_dev, status.st_ino};
}

std::vector<FileId> StandardStreamFiles() {
  std::vector<FileId> files;
  for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    struct stat status {};
    if (fstat(number, &status) == 0) files.push_back({status.st_dev, status.st_ino});
  }
  return files;
}

bool IsPlainFile(const std::string& path) {
  struct stat status {};
  return !HoldsZeroByte(path) && lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

bool RemoveFile(const std::string& path) {
  return !HoldsZeroByte(path) && unlink(path.c_str()) == 0;
}

bool FileExists(const std::string& path) {
  struct stat status {};
  return !path.empty() && !HoldsZeroByte(path) && stat(path.c_str(), &status) == 0;
}

bool MakeDirectory(const std::string& path) {
  if (path.empty() || HoldsZeroByte(path)) return false;
  for (std::size_t end = path.find('/', 1); end != std::string::npos; end = path.find('/', end + 1))
    mkdir(path.substr(0, end).c_str(), 0777);
  mkdir(path.c_str(), 0777);
  return IsKind(path, S_IFDIR);
}

std::vector<std::string> ListFiles(const std::string& directory, std::string_view extension) {
  std::vector<std::string> files;
  for (std::string& name : EntryNames(directory)) {
    if (name.size() < extension.size()) continue;
    const std::string_view ending = std::string_view(name).substr(name.size() - extension.size());
    if (!EqualsNoCase(ending, extension) || !IsKind(directory + "/" + name, S_IFREG)) continue;
    files.push_back(std::move(name));
  }
  return files;
}

bool ListFolder(const std::string& folder, std::vector<FolderEntry>& entries) {
  entries.clear();
  if (HoldsZeroByte(folder)) return false;
  const std::unique_ptr<DIR, int (*)(DIR*)> listing(opendir(folder.c_str()), closedir);
  if (!listing) return false;
  errno = 0;
  while (const dirent* entry = readdir(listing.get())) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..")
      entries.push_back({entry->d_name, KindOf(listing.get(), *entry)});
    errno = 0;
  }
  const bool whole = errno == 0;
  std::sort(entries.begin(), entries.end(),
            [](const FolderEntry& a, const FolderEntry& b) { return a.name < b.name; });
  return whole;
}

std::optional<std::string> FindPathNoCase(const std::string& path) {
  if (path.empty() || HoldsZeroByte(path)) return std::nullopt;
  std::vector<std::string> parts;
  SplitList(path, '/', false, parts);
  std::erase(parts, "");
  return FindBelow(path.front() == '/' ? "/" : "", parts);
}

std::optional<std::string> Environment(const std::string& name) {
  const char* value = getenv(name.c_str());
  if (value == nullptr) return std::nullopt;
  return value;
}

bool IsAdmin() { return geteuid() == 0; }
bool IsVistaOrLater() { return false; }
bool OnWindows() { return false; }
void PrepareProcess() {}
bool DisableFsRedirection() { return false; }
std::optional<std::string> WindowsDirectory() { return std::nullopt; }

MachineInfo DescribeMachine(const std::string&) {
  MachineInfo machine;
  machine.host_label = HostName();
  utsname names{};
  if (uname(&names) < 0) return machine;
  machine.os_family = names.sysname;
  machine.os_release = names.release;
  machine.os_version = names.version;
  machine.is_64bit = std::string_view(names.machine).find("64") != std::string_view::npos ||
                     std::string_view(names.machine) == "s390x";
  machine.valid = true;
  return machine;
}

std::string HostName() {
  std::array<char, 8192> name{};
  if (gethostname(name.data(), name.size() - 1) != 0 || name[0] == '\0') return "<unk>";
  return name.data();
}

// Mounts carry no drive type here.
bool OnNetworkDrive(const std::string&) { return false; }
bool OnRemovableDrive(const std::string&) { return false; }

void ExpectFilled(void* memory, std::size_t size) {
#ifdef MADV_HUGEPAGE
  // Only the part that consists of whole large pages can be had so.
  constexpr std::uintptr_t kLargePage = std::uintptr_t{2} << 20;
  const auto begin = reinterpret_cast<std::uintptr_t>(memory);
  const std::uintptr_t padding = (kLargePage - begin % kLargePage) % kLargePage;
  if (size < padding + kLargePage) return;
  madvise(static_cast<char*>(memory) + padding, (size - padding) / kLargePage * kLargePage,
          MADV_HUGEPAGE);
#else
  static_cast<void>(memory);
  static_cast<void>(size);
#endif
}

std::optional<std::uint64_t> AvailableMemory() {
  constexpr std::string_view kLabel = "MemAvailable:";
  constexpr std::uint64_t kUnit = 1024;
  const std::optional<InputFile> file = OpenInput("/proc/meminfo");
  if (!file) return std::nullopt;
  std::array<std::uint8_t, 4096> bytes{};
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), file->read(0, bytes));
  std::size_t at = text.find(kLabel);
  if (at == std::string_view::npos) return std::nullopt;
  at = text.find_first_not_of(' ', at + kLabel.size());
  if (at == std::string_view::npos) return std::nullopt;
  return kUnit * LeadingNumber(text.substr(at));
}

std::uint64_t CurrentFiletime() {
  constexpr std::uint64_t kUnixEpochTicks = 116'444'736'000'000'000;
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return kUnixEpochTicks + static_cast<std::uint64_t>(now.tv_sec) * 10'000'000 +
         static_cast<std::uint64_t>(now.tv_nsec) / 100;
}

bool WriteStandardOutput(std::string_view text) {
  const bool written = WriteAll(STDOUT_FILENO, text);
  if (!written && (errno == EPIPE || errno == EBADF)) reader_gone = true;
  return written;
}
bool WriteStandardError(std::string_view text) { return WriteAll(STDERR_FILENO, text); }

std::size_t ReadStandardInput(std::span<char> to) {
  while (true) {
    if (Interrupted()) return 0;
    const ssize_t got = read(STDIN_FILENO, to.data(), to.size());
    if (got < 0 && errno == EINTR) continue;
    return got < 0 ? 0 : static_cast<std::size_t>(got);
  }
}

bool StandardOutputIsTerminal() { return isatty(STDOUT_FILENO) == 1; }
bool StandardErrorIsTerminal() { return isatty(STDERR_FILENO) == 1; }

std::size_t StandardErrorColumns() {
  winsize size{};
  constexpr std::size_t kUsual = 80;
  return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : kUsual;
}

void CatchInterrupts() {
  for (const int number : {SIGINT, SIGTERM}) {
    struct sigaction action {};
    if (sigaction(number, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) continue;
    action = {};
    action.sa_handler = NoteInterrupt;
    // Without SA_RESTART, so that waiting for input ends; the second one finds no handler.
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(number, &action, nullptr);
  }
}

bool Interrupted() { return interrupt != 0; }

void EndInterrupted() {
  const int number = interrupt;
  signal(number, SIG_DFL);
  raise(number);
}

std::size_t StandardOutputWidth() {
  winsize size{};
  return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

bool EnableTerminalColors() {
  const std::optional<std::string> kind = Environment("TERM");
  return kind && !kind->empty() && *kind != "dumb";
}

void KeepRunningOnBrokenPipe() { signal(SIGPIPE, SIG_IGN); }
bool StandardOutputReaderGone() { return reader_gone; }

std::string InputText(std::string line) { return line; }

std::vector<std::string> CommandLineArguments(int argc, char** argv) { return {argv, argv + argc}; }

}  // namespace tarnlex
