// All of the operating system that the program touches. Paths and texts are UTF-8; every function
// has one body for POSIX systems and one for Windows, and nothing else knows which is which.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tarnlex {

// A file opened for shared reading; closed when the last copy of `read` goes.
struct InputFile {
  std::uint64_t size = 0;
  // Reads up to to.size() bytes at `offset`; returns how many came, 0 at the end or on failure.
  std::function<std::size_t(std::uint64_t offset, std::span<std::uint8_t> to)> read;
};

// Opens an existing file for reading without locking or changing it, its time of last access
// included where the system lets us. Nothing for a path that is
// empty, absent, unreadable or a directory, or that holds a zero byte.
std::optional<InputFile> OpenInput(const std::string& path);

// A stretch of a file, from `begin` to before `end`.
struct FileStretch {
  std::uint64_t begin = 0;
  std::uint64_t end = 0;
};

// A file or a device that is read from its first byte to its last.
struct ImageFile {
  InputFile file;
  // The first stretch at or behind `offset` that the file system keeps bytes of; what is left out
  // reads as zeros. Empty at the end. Where the system does not tell, all of the rest is one.
  std::function<FileStretch(std::uint64_t offset)> next_stretch;
};

// Opens a file, or a block device (a drive or volume on Windows), for reading as OpenInput does.
std::optional<ImageFile> OpenImage(const std::string& path);

// Opens a file for writing, truncated or, with `append`, behind what it holds; the function writes
// a whole block and says whether that succeeded. An empty block closes the file and says whether
// the system has taken everything written before; without one, the file is closed when the last
// copy of the function goes. Nothing when it cannot be opened.
std::optional<std::function<bool(std::string_view)>> OpenOutput(const std::string& path,
                                                                bool append = false);

// A file that is being made: bytes go where they are told to, as they are.
struct NewFile {
  std::function<bool(std::uint64_t offset, std::span<const std::uint8_t> bytes)> write;
  std::function<bool()> close;  // whether the system has taken everything
};

// Makes a file that is not there yet, or opens one that this run has made, for writing. Nothing
// when it cannot, or when something stands under the path that is to be made.
std::optional<NewFile> MakeFile(const std::string& path);
std::optional<NewFile> ReopenFile(const std::string& path);

// Gives a file another name in its folder, unless something stands under that; false then.
bool RenameToNew(const std::string& from, const std::string& to);

// What tells one file from all others, whatever it is called. Nothing for a path that names none.
struct FileId {
  std::uint64_t volume = 0;
  std::uint64_t file = 0;
  auto operator<=>(const FileId&) const = default;
};
std::optional<FileId> IdentifyFile(const std::string& path);

// The files behind the process's standard streams, as far as these are files.
std::vector<FileId> StandardStreamFiles();

// Whether a plain file stands under the path itself and not behind a link; false for an empty path.
bool IsPlainFile(const std::string& path);

// Removes a file; false when it still stands.
bool RemoveFile(const std::string& path);

// Whether the file system knows the path (a file or a directory); false for an empty path.
bool FileExists(const std::string& path);

// Creates a directory and its parents; true when it stands afterwards.
bool MakeDirectory(const std::string& path);

// Names (not paths) of the plain files in `directory` whose names end in `extension`, compared
// without regard to ASCII case, in byte order; subdirectories are not entered.
std::vector<std::string> ListFiles(const std::string& directory, std::string_view extension);

// What stands in a folder, as it stands there: a link is a link, whatever it leads to.
enum class EntryKind : std::uint8_t { kFile, kFolder, kLink, kOther };
struct FolderEntry {
  std::string name;
  EntryKind kind = EntryKind::kOther;
};
// Fills `entries` with what stands in `folder`, in byte order of names, without opening any of it.
// False when the system does not give it all; what it gave is there.
bool ListFolder(const std::string& folder, std::vector<FolderEntry>& entries);

// `path` as the file system spells it when its components are matched without regard to ASCII
// case (a Windows volume mounted elsewhere); nothing when no such file exists. On Windows, the path
// itself when it exists.
std::optional<std::string> FindPathNoCase(const std::string& path);

// Value of an environment variable; nothing when it is not set.
std::optional<std::string> Environment(const std::string& name);

// Whether the process runs with administrator rights (effective user 0 on POSIX systems).
bool IsAdmin();
// Whether the system is Windows of version 6 or later; false elsewhere.
bool IsVistaOrLater();
// Whether the program runs on Windows at all.
bool OnWindows();
// Settings for the whole process, made first of all: a drive without a medium is a failure to
// report, not a dialog to wait for.
void PrepareProcess();
// Lets a 32-bit process see the real system directory; true when redirection was switched off.
bool DisableFsRedirection();
// The Windows directory; nothing when there is none or the call fails.
std::optional<std::string> WindowsDirectory();

// What the run header says of the machine.
struct MachineInfo {
  std::string os_family;
  std::string os_release;
  std::string os_version;
  std::string host_label;  // the computer's name, with " [remote]" when the program lies on a share
  bool is_64bit = false;
  bool valid = false;
};
MachineInfo DescribeMachine(const std::string& program_path);
// The computer's name; "<unk>" when the system does not tell.
std::string HostName();
// Whether the program's own file lies on a network drive or on a removable drive.
bool OnNetworkDrive(const std::string& program_path);
bool OnRemovableDrive(const std::string& program_path);

// Tells the system that a large stretch of fresh memory is about to be filled, so that it can be
// had in large pages: a page fault for every 4 KiB is dear. Only a hint.
void ExpectFilled(void* memory, std::size_t size);

// Bytes of memory that are to be had before the system has to take them from somebody; nothing
// where it does not say.
std::optional<std::uint64_t> AvailableMemory();

// The present instant as a FILETIME.
std::uint64_t CurrentFiletime();

// The process's standard streams, unbuffered. ReadStandardInput gives up to to.size() bytes as they
// are and 0 at the end, or once the process is interrupted. On Windows what is written, here and
// through OpenOutput, gets the line ends of Windows programs: "\n" comes in, "\r\n" goes out.
bool WriteStandardOutput(std::string_view text);
bool WriteStandardError(std::string_view text);
std::size_t ReadStandardInput(std::span<char> to);
// A line of standard input in UTF-8. On Windows a line that is no UTF-8 is taken to be in the
// console's code page, as the command interpreter pipes its lists; elsewhere it stays as it is.
std::string InputText(std::string line);

// Whether a person reads the stream rather than a file or another program.
bool StandardOutputIsTerminal();
bool StandardErrorIsTerminal();
// How many characters a line of the terminal behind standard error has; 80 when it does not say.
std::size_t StandardErrorColumns();

// From now on the first request to end the process (Ctrl-C, or a signal to terminate) is only
// noted, for Interrupted to tell; a second one ends it at once. One that is ignored stays so.
void CatchInterrupts();
bool Interrupted();
// Ends the process as the request that was noted would have: whoever waits for it, such as a shell
// with more commands, learns why it ended. Returns where the system has no way to tell; then the
// exit code has to.
void EndInterrupted();

// How many characters a line of the terminal at standard output takes; 0 where none is, or where it
// does not say.
std::size_t StandardOutputWidth();
// Makes that terminal understand colours; false where it will not.
bool EnableTerminalColors();

// Makes a write to a pipe whose reader has gone fail instead of ending the process.
void KeepRunningOnBrokenPipe();
// Whether a write to standard output has failed because its reader has gone, or there never was
// one.
bool StandardOutputReaderGone();

// The arguments of the process in UTF-8, the program's path first.
std::vector<std::string> CommandLineArguments(int argc, char** argv);

}  // namespace tarnlex
