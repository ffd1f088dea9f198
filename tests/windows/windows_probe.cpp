// Runs the program on Windows in circumstances that a shell cannot make: a log that somebody else
// holds open, a console, fewer rights. Also prints what the program's file says of itself.
//
//   windows_probe resources EXE                 version, manifest
//   windows_probe hold LOG COMMAND...           LOG is open for writing meanwhile
//   windows_probe console FILE COMMAND...       what a console shows goes to FILE
//   windows_probe codepage NUMBER LIST COMMAND...
//                                               LIST is standard input, in a console of that page
//   windows_probe limited COMMAND...            without the rights of an administrator
//   windows_probe unread COMMAND...             nobody reads standard output any more
//   windows_probe mute COMMAND...               there is no standard output
//
// Ends as COMMAND does; with 99 and a line on standard error when it could not get so far.
#define NOMINMAX
#include <windows.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr int kFailed = 99;

int Fail(const char* what) {
  std::fprintf(stderr, "windows_probe: %s failed with %lu\n", what, GetLastError());
  return kFailed;
}

std::string Utf8(std::wstring_view text) {
  const int size = static_cast<int>(text.size());
  const int bytes =
      WideCharToMultiByte(CP_UTF8, 0, text.data(), size, nullptr, 0, nullptr, nullptr);
  std::string narrow(static_cast<std::size_t>(bytes), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), size, narrow.data(), bytes, nullptr, nullptr);
  return narrow;
}

// No argument of the tests holds a quote or ends in a backslash.
std::wstring CommandLine(wchar_t** arguments, int count) {
  std::wstring line;
  for (int i = 0; i < count; ++i) line.append(L"\"").append(arguments[i]).append(L"\" ");
  return line;
}

struct Streams {
  HANDLE in = GetStdHandle(STD_INPUT_HANDLE);
  HANDLE out = GetStdHandle(STD_OUTPUT_HANDLE);
  HANDLE err = GetStdHandle(STD_ERROR_HANDLE);
};

int Run(std::wstring line, const Streams& streams, HANDLE token = nullptr) {
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = streams.in;
  startup.hStdOutput = streams.out;
  startup.hStdError = streams.err;
  PROCESS_INFORMATION process{};
  const BOOL started = token == nullptr
                           ? CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0,
                                            nullptr, nullptr, &startup, &process)
                           : CreateProcessAsUserW(token, nullptr, line.data(), nullptr, nullptr,
                                                  TRUE, 0, nullptr, nullptr, &startup, &process);
  if (!started) return Fail("starting the command");
  WaitForSingleObject(process.hProcess, INFINITE);
  DWORD code = kFailed;
  GetExitCodeProcess(process.hProcess, &code);
  return static_cast<int>(code);
}

void PrintVersionText(const std::vector<BYTE>& version, const wchar_t* name) {
  const std::wstring key = std::wstring(L"\\StringFileInfo\\040904B0\\") + name;
  void* text = nullptr;
  UINT units = 0;
  if (VerQueryValueW(version.data(), key.c_str(), &text, &units)) {
    std::printf("%s=%s\n", Utf8(name).c_str(), Utf8(static_cast<const wchar_t*>(text)).c_str());
  }
}

int Resources(const wchar_t* exe) {
  std::vector<BYTE> version(GetFileVersionInfoSizeW(exe, nullptr));
  if (version.empty() ||
      !GetFileVersionInfoW(exe, 0, static_cast<DWORD>(version.size()), version.data())) {
    return Fail("reading the version");
  }
  for (const wchar_t* name : {L"ProductName", L"ProductVersion", L"OriginalFilename"}) {
    PrintVersionText(version, name);
  }
  void* fixed = nullptr;
  UINT size = 0;
  if (!VerQueryValueW(version.data(), L"\\", &fixed, &size)) return Fail("the fixed version");
  const auto* info = static_cast<const VS_FIXEDFILEINFO*>(fixed);
  std::printf("fixed=%lu.%lu\n", info->dwFileVersionMS >> 16, info->dwFileVersionMS & 0xFFFF);
  const HMODULE module = LoadLibraryExW(exe, nullptr, LOAD_LIBRARY_AS_DATAFILE);
  const HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(1), MAKEINTRESOURCEW(24));
  if (found == nullptr) return Fail("finding the manifest");
  const void* manifest = LockResource(LoadResource(module, found));
  std::fwrite(manifest, 1, SizeofResource(module, found), stdout);
  return 0;
}

// As a service writes its log: others may read, and nobody who forbids writing gets in.
int Hold(const wchar_t* log, wchar_t** command, int count) {
  const HANDLE held = CreateFileW(log, GENERIC_READ | GENERIC_WRITE | DELETE, FILE_SHARE_READ,
                                  nullptr, OPEN_EXISTING, 0, nullptr);
  if (held == INVALID_HANDLE_VALUE) return Fail("holding the log");
  const HANDLE refused =
      CreateFileW(log, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  if (refused != INVALID_HANDLE_VALUE) return Fail("keeping a plain reader out");
  const int code = Run(CommandLine(command, count), Streams{});
  CloseHandle(held);
  return code;
}

SECURITY_ATTRIBUTES Inherited() { return {sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE}; }

HANDLE OpenForWriting(const wchar_t* file) {
  return CreateFileW(file, GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS, 0, nullptr);
}

int ShowOnConsole(const wchar_t* file, wchar_t** command, int count) {
  SECURITY_ATTRIBUTES inherited = Inherited();
  const HANDLE screen = CreateConsoleScreenBuffer(GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ,
                                                  &inherited, CONSOLE_TEXTMODE_BUFFER, nullptr);
  if (screen == INVALID_HANDLE_VALUE) return Fail("making a screen buffer");
  CONSOLE_SCREEN_BUFFER_INFO info{};
  if (!GetConsoleScreenBufferInfo(screen, &info)) return Fail("measuring the screen buffer");
  Streams streams;
  streams.out = streams.err = screen;
  const int code = Run(CommandLine(command, count), streams);
  const HANDLE target = OpenForWriting(file);
  const auto columns = static_cast<DWORD>(info.dwSize.X);
  for (SHORT line = 0; line < info.dwSize.Y; ++line) {
    std::wstring cells(columns, L' ');
    DWORD got = 0;
    if (!ReadConsoleOutputCharacterW(screen, cells.data(), columns, {0, line}, &got)) {
      return Fail("reading the console");
    }
    cells.erase(cells.find_last_not_of(L' ') + 1);
    const std::string text = Utf8(cells) + "\n";
    DWORD wrote = 0;
    WriteFile(target, text.data(), static_cast<DWORD>(text.size()), &wrote, nullptr);
  }
  CloseHandle(target);
  return code;
}

int PipeIn(const wchar_t* code_page, const wchar_t* list, wchar_t** command, int count) {
  if (!SetConsoleOutputCP(static_cast<UINT>(std::stoul(code_page)))) return Fail("the code page");
  SECURITY_ATTRIBUTES inherited = Inherited();
  Streams streams;
  streams.in =
      CreateFileW(list, GENERIC_READ, FILE_SHARE_READ, &inherited, OPEN_EXISTING, 0, nullptr);
  if (streams.in == INVALID_HANDLE_VALUE) return Fail("opening the list");
  return Run(CommandLine(command, count), streams);
}

// With the token that an administrator has before confirming anything.
int RunLimited(wchar_t** command, int count) {
  HANDLE own = nullptr;
  TOKEN_LINKED_TOKEN linked{};
  DWORD size = 0;
  HANDLE limited = nullptr;
  if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ALL_ACCESS, &own) ||
      !GetTokenInformation(own, TokenLinkedToken, &linked, sizeof linked, &size) ||
      !DuplicateTokenEx(linked.LinkedToken, TOKEN_ALL_ACCESS, nullptr, SecurityImpersonation,
                        TokenPrimary, &limited)) {
    return Fail("getting the limited token");
  }
  return Run(CommandLine(command, count), Streams{}, limited);
}

int RunUnread(wchar_t** command, int count) {
  SECURITY_ATTRIBUTES inherited = Inherited();
  Streams streams;
  HANDLE reader = nullptr;
  if (!CreatePipe(&reader, &streams.out, &inherited, 0)) return Fail("making a pipe");
  CloseHandle(reader);
  return Run(CommandLine(command, count), streams);
}

int RunMute(wchar_t** command, int count) {
  Streams streams;
  streams.out = nullptr;
  return Run(CommandLine(command, count), streams);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  const std::wstring_view what = argc > 2 ? argv[1] : L"";
  if (what == L"resources") return Resources(argv[2]);
  if (what == L"hold") return Hold(argv[2], argv + 3, argc - 3);
  if (what == L"console") return ShowOnConsole(argv[2], argv + 3, argc - 3);
  if (what == L"codepage" && argc > 4) return PipeIn(argv[2], argv[3], argv + 4, argc - 4);
  if (what == L"limited") return RunLimited(argv + 2, argc - 2);
  if (what == L"unread") return RunUnread(argv + 2, argc - 2);
  if (what == L"mute") return RunMute(argv + 2, argc - 2);
  return Fail("reading the command line");
}
