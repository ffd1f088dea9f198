// Files and streams on Windows. Paths come in as UTF-8 and go to the wide interfaces; written text
// gets the line ends of Windows programs, whatever it is written to.
#define NOMINMAX
#include <windows.h>
#include <winioctl.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <utility>

#include "logs/platform.h"
#include "logs/text.h"
#include "logs/windows_text.h"

namespace tarnlex {
namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr std::size_t kMaxTransfer = std::size_t{1} << 30;
constexpr std::size_t kConsoleUnits = 8192;  // WriteConsole refuses much larger texts
// From here on a path needs the prefix that lifts the limit; directories have the lower one.
constexpr std::size_t kLongPath = 248;

struct File {
  HANDLE handle = INVALID_HANDLE_VALUE;
  explicit File(HANDLE opened) : handle(opened) {}
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File() {
    if (handle != INVALID_HANDLE_VALUE) CloseHandle(handle);
  }
};

bool Close(File& file) {
  const HANDLE handle = std::exchange(file.handle, INVALID_HANDLE_VALUE);
  return handle == INVALID_HANDLE_VALUE || CloseHandle(handle) != 0;
}

// Set by the one thread that writes.
bool reader_gone = false;

// Set by the thread that the system makes for it.
std::atomic<bool> interrupted = false;

BOOL WINAPI NoteInterrupt(DWORD event) {
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) return FALSE;
  return interrupted.exchange(true) ? FALSE : TRUE;
}

bool IsTerminal(DWORD stream) {
  DWORD mode = 0;
  return GetConsoleMode(GetStdHandle(stream), &mode) != 0;
}

bool IsUsable(const std::string& path) {
  return !path.empty() && path.find('\0') == std::string::npos;
}

// The path as the file functions take it at any length. What counts is the length of the whole
// path, however short the part below the current directory is.
std::wstring SystemPath(const std::string& path) {
  std::wstring wide = Wide(path);
  if (wide.starts_with(L"\\\\?\\")) return wide;
  std::wstring full(32'768, L'\0');
  const DWORD size =
      GetFullPathNameW(wide.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
  if (size < kLongPath || size >= full.size()) return wide;
  full.resize(size);
  if (full.starts_with(L"\\\\.\\") || full.starts_with(L"\\\\?\\")) return full;
  if (full.starts_with(L"\\\\")) return L"\\\\?\\UNC" + full.substr(1);
  return L"\\\\?\\" + full;
}

std::size_t ReadAllAt(HANDLE file, std::uint64_t offset, std::span<std::uint8_t> to) {
  std::size_t done = 0;
  while (done < to.size()) {
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>((offset + done) & 0xFFFFFFFF);
    place.OffsetHigh = static_cast<DWORD>((offset + done) >> 32);
    const auto wanted = static_cast<DWORD>(std::min(to.size() - done, kMaxTransfer));
    DWORD got = 0;
    if (!ReadFile(file, to.data() + done, wanted, &got, &place) || got == 0) break;
    done += got;
  }
  return done;
}

// A drive or a volume, "\\\\.\\PhysicalDrive0" or "\\\\.\\C:", which is read by whole sectors only.
bool IsDevice(const std::string& path) { return path.starts_with("\\\\.\\"); }

// Reads what lies in the sectors around `to` and copies its part of them. The room is aligned as
// drivers want it.
std::size_t ReadSectors(HANDLE device, std::uint64_t size, std::uint64_t sector,
                        std::uint64_t offset, std::span<std::uint8_t> to) {
  constexpr std::size_t kRoom = std::size_t{1} << 20;
  static const std::unique_ptr<void, void (*)(void*)> kMemory(
      VirtualAlloc(nullptr, kRoom, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE),
      [](void* memory) { VirtualFree(memory, 0, MEM_RELEASE); });
  auto* const room = static_cast<std::uint8_t*>(kMemory.get());
  if (room == nullptr || offset >= size) return 0;
  const std::uint64_t begin = offset / sector * sector;
  const std::uint64_t wanted = std::min<std::uint64_t>(to.size(), size - offset);
  const std::uint64_t end = (offset + wanted + sector - 1) / sector * sector;
  const std::size_t got =
      ReadAllAt(device, begin, {room, static_cast<std::size_t>(std::min(end - begin, kRoom))});
  const std::uint64_t skipped = offset - begin;
  if (got <= skipped) return 0;
  const auto given = static_cast<std::size_t>(std::min(got - skipped, wanted));
  std::copy_n(room + skipped, given, to.data());
  return given;
}

bool OpenDevice(const std::string& path, InputFile& input) {
  if (!IsUsable(path)) return false;
  const auto device = std::make_shared<File>(
      CreateFileW(Wide(path).c_str(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr));
  GET_LENGTH_INFORMATION length{};
  DISK_GEOMETRY geometry{};
  DWORD got = 0;
  if (device->handle == INVALID_HANDLE_VALUE ||
      !DeviceIoControl(device->handle, IOCTL_DISK_GET_LENGTH_INFO, nullptr, 0, &length,
                       sizeof length, &got, nullptr) ||
      !DeviceIoControl(device->handle, IOCTL_DISK_GET_DRIVE_GEOMETRY, nullptr, 0, &geometry,
                       sizeof geometry, &got, nullptr) ||
      geometry.BytesPerSector == 0) {
    return false;
  }
  const auto size = static_cast<std::uint64_t>(length.Length.QuadPart);
  input.size = size;
  input.read = [device, size, sector = std::uint64_t{geometry.BytesPerSector}](
                   std::uint64_t offset, std::span<std::uint8_t> to) {
    return ReadSectors(device->handle, size, sector, offset, to);
  };
  return true;
}

bool WriteAllAt(HANDLE file, std::uint64_t offset, std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(offset & 0xFFFFFFFF);
    place.OffsetHigh = static_cast<DWORD>(offset >> 32);
    const auto size = static_cast<DWORD>(std::min(bytes.size(), kMaxTransfer));
    DWORD wrote = 0;
    if (!WriteFile(file, bytes.data(), size, &wrote, &place) || wrote == 0) return false;
    offset += wrote;
    bytes = bytes.subspan(wrote);
  }
  return true;
}

std::optional<NewFile> OpenForBytes(const std::string& path, DWORD how) {
  if (!IsUsable(path)) return std::nullopt;
  const auto file =
      std::make_shared<File>(CreateFileW(SystemPath(path).c_str(), GENERIC_WRITE, FILE_SHARE_READ,
                                         nullptr, how, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (file->handle == INVALID_HANDLE_VALUE) return std::nullopt;
  NewFile made;
  made.write = [file](std::uint64_t offset, std::span<const std::uint8_t> bytes) {
    return WriteAllAt(file->handle, offset, bytes);
  };
  made.close = [file] { return Close(*file); };
  return made;
}

std::string WindowsLines(std::string_view text) {
  std::string lines;
  lines.reserve(text.size() + text.size() / 64);
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    lines.append(text.substr(0, end));
    if (end == std::string_view::npos) break;
    lines.append("\r\n");
    text.remove_prefix(end + 1);
  }
  return lines;
}

bool WriteText(HANDLE file, std::string_view text) {
  const std::string lines = WindowsLines(text);
  std::string_view left = lines;
  while (!left.empty()) {
    const auto size = static_cast<DWORD>(std::min(left.size(), kMaxTransfer));
    DWORD wrote = 0;
    if (!WriteFile(file, left.data(), size, &wrote, nullptr) || wrote == 0) return false;
    left.remove_prefix(wrote);
  }
  return true;
}

// Units of the next portion for a console, with no pair of surrogates cut in two.
std::size_t ConsolePortion(std::wstring_view text) {
  if (text.size() <= kConsoleUnits) return text.size();
  const bool cuts_pair = (text[kConsoleUnits - 1] & 0xFC00) == 0xD800;
  return cuts_pair ? kConsoleUnits - 1 : kConsoleUnits;
}

// A console shows characters beyond ASCII only when it gets them as wide text.
bool WriteConsoleText(HANDLE console, std::string_view text) {
  const std::wstring wide = Wide(WindowsLines(text));
  std::wstring_view left = wide;
  while (!left.empty()) {
    const auto size = static_cast<DWORD>(ConsolePortion(left));
    DWORD wrote = 0;
    if (!WriteConsoleW(console, left.data(), size, &wrote, nullptr) || wrote == 0) return false;
    left.remove_prefix(wrote);
  }
  return true;
}

bool WriteStream(DWORD which, std::string_view text) {
  const HANDLE stream = GetStdHandle(which);
  if (stream == nullptr || stream == INVALID_HANDLE_VALUE) {
    SetLastError(ERROR_INVALID_HANDLE);
    return false;
  }
  DWORD mode = 0;
  return GetConsoleMode(stream, &mode) ? WriteConsoleText(stream, text) : WriteText(stream, text);
}

std::optional<FileId> Identify(HANDLE file) {
  BY_HANDLE_FILE_INFORMATION info{};
  if (!GetFileInformationByHandle(file, &info)) return std::nullopt;
  const std::uint64_t high = info.nFileIndexHigh;
  return FileId{info.dwVolumeSerialNumber, high << 32 | info.nFileIndexLow};
}

// Archived and deduplicated files are reparse points too, but stand for no other file.
bool IsLink(const WIN32_FIND_DATAW& found) {
  return (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
         IsReparseTagNameSurrogate(found.dwReserved0);
}

EntryKind KindOf(const WIN32_FIND_DATAW& found) {
  if (IsLink(found)) return EntryKind::kLink;
  const bool is_folder = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  return is_folder ? EntryKind::kFolder : EntryKind::kFile;
}

bool IsDirectory(const std::string& path) {
  const DWORD attributes = GetFileAttributesW(SystemPath(path).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

}  // namespace

std::optional<InputFile> OpenInput(const std::string& path) {
  if (!IsUsable(path)) return std::nullopt;
  const auto file =
      std::make_shared<File>(CreateFileW(SystemPath(path).c_str(), GENERIC_READ, kShareAll, nullptr,
                                         OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  LARGE_INTEGER size{};
  if (file->handle == INVALID_HANDLE_VALUE || GetFileType(file->handle) != FILE_TYPE_DISK ||
      !GetFileSizeEx(file->handle, &size)) {
    return std::nullopt;
  }
  InputFile input;
  input.size = static_cast<std::uint64_t>(size.QuadPart);
  input.read = [file](std::uint64_t offset, std::span<std::uint8_t> to) {
    return ReadAllAt(file->handle, offset, to);
  };
  return input;
}

std::optional<ImageFile> OpenImage(const std::string& path) {
  ImageFile image;
  if (!IsDevice(path)) {
    const auto file = OpenInput(path);
    if (!file) return std::nullopt;
    image.file = *file;
  } else if (!OpenDevice(path, image.file)) {
    return std::nullopt;
  }
  image.next_stretch = [size = image.file.size](std::uint64_t offset) {
    return FileStretch{std::min(offset, size), size};
  };
  return image;
}

std::optional<std::function<bool(std::string_view)>> OpenOutput(const std::string& path,
                                                                bool append) {
  if (!IsUsable(path)) return std::nullopt;
  const auto file = std::make_shared<File>(CreateFileW(
      SystemPath(path).c_str(), append ? FILE_APPEND_DATA : GENERIC_WRITE, FILE_SHARE_READ, nullptr,
      append ? OPEN_ALWAYS : CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (file->handle == INVALID_HANDLE_VALUE) return std::nullopt;
  return [file](std::string_view text) {
    return text.empty() ? Close(*file) : WriteText(file->handle, text);
  };
}

std::optional<NewFile> MakeFile(const std::string& path) { return OpenForBytes(path, CREATE_NEW); }

std::optional<NewFile> ReopenFile(const std::string& path) {
  return OpenForBytes(path, OPEN_EXISTING);
}

bool RenameToNew(const std::string& from, const std::string& to) {
  return IsUsable(from) && IsUsable(to) &&
         MoveFileExW(SystemPath(from).c_str(), SystemPath(to).c_str(), 0) != 0;
}

bool FileExists(const std::string& path) {
  return IsUsable(path) && GetFileAttributesW(SystemPath(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool MakeDirectory(const std::string& path) {
  if (!IsUsable(path)) return false;
  constexpr const char* kSeparators = "\\/";
  for (std::size_t end = path.find_first_of(kSeparators, 1); end != std::string::npos;
       end = path.find_first_of(kSeparators, end + 1)) {
    CreateDirectoryW(SystemPath(path.substr(0, end)).c_str(), nullptr);
  }
  CreateDirectoryW(SystemPath(path).c_str(), nullptr);
  return IsDirectory(path);
}

std::vector<std::string> ListFiles(const std::string& directory, std::string_view extension) {
  std::vector<std::string> files;
  if (!IsUsable(directory)) return files;
  WIN32_FIND_DATAW found{};
  const HANDLE search = FindFirstFileW(SystemPath(directory + "\\*").c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return files;
  do {
    if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) continue;
    std::string name = Narrow(found.cFileName);
    if (name.size() < extension.size()) continue;
    const std::string_view ending = std::string_view(name).substr(name.size() - extension.size());
    if (EqualsNoCase(ending, extension)) files.push_back(std::move(name));
  } while (FindNextFileW(search, &found));
  FindClose(search);
  std::sort(files.begin(), files.end());
  return files;
}

bool ListFolder(const std::string& folder, std::vector<FolderEntry>& entries) {
  entries.clear();
  if (!IsUsable(folder)) return false;
  WIN32_FIND_DATAW found{};
  const HANDLE search = FindFirstFileW(SystemPath(folder + "\\*").c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return false;
  do {
    std::string name = Narrow(found.cFileName);
    if (name != "." && name != "..") entries.push_back({std::move(name), KindOf(found)});
  } while (FindNextFileW(search, &found));
  const bool whole = GetLastError() == ERROR_NO_MORE_FILES;
  FindClose(search);
  std::sort(entries.begin(), entries.end(),
            [](const FolderEntry& a, const FolderEntry& b) { return a.name < b.name; });
  return whole;
}

std::optional<std::string> FindPathNoCase(const std::string& path) {
  if (!FileExists(path)) return std::nullopt;
  return path;
}

bool WriteStandardOutput(std::string_view text) {
  if (WriteStream(STD_OUTPUT_HANDLE, text)) return true;
  const DWORD error = GetLastError();
  if (error == ERROR_BROKEN_PIPE || error == ERROR_NO_DATA || error == ERROR_INVALID_HANDLE) {
    reader_gone = true;
  }
  return false;
}
bool WriteStandardError(std::string_view text) { return WriteStream(STD_ERROR_HANDLE, text); }

std::size_t ReadStandardInput(std::span<char> to) {
  const HANDLE stream = GetStdHandle(STD_INPUT_HANDLE);
  const auto wanted = static_cast<DWORD>(std::min(to.size(), kMaxTransfer));
  DWORD got = 0;
  if (Interrupted()) return 0;
  // A pipe whose writer has gone reports an error; for a list of paths that is its end.
  return ReadFile(stream, to.data(), wanted, &got, nullptr) ? got : 0;
}

bool StandardOutputIsTerminal() { return IsTerminal(STD_OUTPUT_HANDLE); }
bool StandardErrorIsTerminal() { return IsTerminal(STD_ERROR_HANDLE); }

std::size_t StandardErrorColumns() {
  constexpr std::size_t kUsual = 80;
  CONSOLE_SCREEN_BUFFER_INFO info{};
  if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &info)) return kUsual;
  const int columns = info.srWindow.Right - info.srWindow.Left + 1;
  return columns > 0 ? static_cast<std::size_t>(columns) : kUsual;
}

void CatchInterrupts() { SetConsoleCtrlHandler(NoteInterrupt, TRUE); }
bool Interrupted() { return interrupted.load(std::memory_order_relaxed); }
void EndInterrupted() {}  // the exit code says it

std::size_t StandardOutputWidth() {
  CONSOLE_SCREEN_BUFFER_INFO info{};
  if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info)) return 0;
  // A line that fills the whole width would be followed by an empty one.
  const int width = info.srWindow.Right - info.srWindow.Left;
  return width > 0 ? static_cast<std::size_t>(width) : 0;
}

bool EnableTerminalColors() {
  const HANDLE stream = GetStdHandle(STD_OUTPUT_HANDLE);
  DWORD mode = 0;
  return GetConsoleMode(stream, &mode) &&
         SetConsoleMode(stream, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

void KeepRunningOnBrokenPipe() {}  // no such signal here
bool StandardOutputReaderGone() { return reader_gone; }

std::optional<FileId> IdentifyFile(const std::string& path) {
  if (!IsUsable(path)) return std::nullopt;
  const File file(CreateFileW(SystemPath(path).c_str(), 0, kShareAll, nullptr, OPEN_EXISTING,
                              FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  if (file.handle == INVALID_HANDLE_VALUE) return std::nullopt;
  return Identify(file.handle);
}

std::vector<FileId> StandardStreamFiles() {
  std::vector<FileId> files;
  for (const DWORD which : {STD_INPUT_HANDLE, STD_OUTPUT_HANDLE, STD_ERROR_HANDLE}) {
    const HANDLE stream = GetStdHandle(which);
    if (GetFileType(stream) != FILE_TYPE_DISK) continue;
    if (const auto id = Identify(stream)) files.push_back(*id);
  }
  return files;
}

bool IsPlainFile(const std::string& path) {
  if (!IsUsable(path)) return false;
  WIN32_FIND_DATAW found{};
  const HANDLE search = FindFirstFileW(SystemPath(path).c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return false;
  FindClose(search);
  return KindOf(found) == EntryKind::kFile;
}

bool RemoveFile(const std::string& path) {
  return IsUsable(path) && DeleteFileW(SystemPath(path).c_str()) != 0;
}

}  // namespace tarnlex
