// What Windows tells of the process and of the machine: arguments, environment, rights, version.
#define NOMINMAX
#include <windows.h>
// These two need windows.h in front of them.
#include <shellapi.h>
#include <shlobj.h>

#include <algorithm>
#include <array>

#include "logs/platform.h"
#include "logs/text.h"
#include "logs/windows_text.h"

namespace tarnlex {
namespace {

constexpr DWORD kVistaMajor = 6;

// An access token, closed with its scope.
struct Token {
  HANDLE handle = nullptr;
  Token() = default;
  Token(const Token&) = delete;
  Token& operator=(const Token&) = delete;
  ~Token() {
    if (handle != nullptr) CloseHandle(handle);
  }
};

bool ReadVersion(OSVERSIONINFOW& version) {
  version = {};
  version.dwOSVersionInfoSize = sizeof version;
  return GetVersionExW(&version) != 0;
}

// Whether the unrestricted token behind a limited one belongs to the administrators.
bool LinkedTokenIsAdmin(const Token& token) {
  std::array<BYTE, SECURITY_MAX_SID_SIZE> administrators{};
  auto sid_size = static_cast<DWORD>(administrators.size());
  if (!CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, administrators.data(), &sid_size)) {
    return false;
  }
  TOKEN_LINKED_TOKEN link{};
  DWORD size = 0;
  if (!GetTokenInformation(token.handle, TokenLinkedToken, &link, sizeof link, &size)) return false;
  Token linked;
  linked.handle = link.LinkedToken;
  BOOL member = FALSE;
  return CheckTokenMembership(linked.handle, administrators.data(), &member) && member;
}

// A limited token is never enough: the process cannot use the rights behind it.
bool TokenGivesAdmin() {
  Token token;
  if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token.handle)) return false;
  TOKEN_ELEVATION_TYPE type{};
  DWORD size = 0;
  if (!GetTokenInformation(token.handle, TokenElevationType, &type, sizeof type, &size)) {
    return false;
  }
  const bool in_group =
      type == TokenElevationTypeLimited ? LinkedTokenIsAdmin(token) : IsUserAnAdmin() != FALSE;
  return in_group && (type == TokenElevationTypeDefault || type == TokenElevationTypeFull);
}

const char* ProductType(BYTE type) {
  switch (type) {
    case VER_NT_WORKSTATION: return "workstation";
    case VER_NT_DOMAIN_CONTROLLER: return "domain-controller";
    case VER_NT_SERVER: return "server";
    default: return "unk";
  }
}

bool Is64BitSystem() {
  SYSTEM_INFO system{};
  GetNativeSystemInfo(&system);
  const WORD architecture = system.wProcessorArchitecture;
  return architecture == PROCESSOR_ARCHITECTURE_AMD64 ||
         architecture == PROCESSOR_ARCHITECTURE_IA64 ||
         architecture == PROCESSOR_ARCHITECTURE_ARM64;
}

// Text of a code page as wide text; empty when it has none or `flags` forbid what it holds.
std::wstring WideFrom(UINT code_page, DWORD flags, std::string_view text) {
  constexpr std::size_t kMaxBytes = std::size_t{1} << 30;
  const int size = static_cast<int>(text.size() < kMaxBytes ? text.size() : kMaxBytes);
  const int units = MultiByteToWideChar(code_page, flags, text.data(), size, nullptr, 0);
  if (units <= 0) return {};
  std::wstring wide(static_cast<std::size_t>(units), L'\0');
  MultiByteToWideChar(code_page, flags, text.data(), size, wide.data(), units);
  return wide;
}

// What command interpreters write their lists in. The code pages of this process say nothing of
// that: its manifest makes them UTF-8.
UINT PipedCodePage() {
  if (const UINT console = GetConsoleOutputCP()) return console;
  DWORD system = 0;
  const int units =
      GetLocaleInfoW(LOCALE_SYSTEM_DEFAULT, LOCALE_IDEFAULTCODEPAGE | LOCALE_RETURN_NUMBER,
                     reinterpret_cast<wchar_t*>(&system), sizeof system / 2);
  return units > 0 && system != 0 ? system : CP_UTF8;
}

// The kind of drive that the program's file lies on. The path as typed may lack its folder, so the
// system is asked first.
UINT DriveType(const std::string& program_path) {
  std::wstring path(32'768, L'\0');
  const DWORD size = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
  path.resize(size < path.size() ? size : 0);
  if (path.empty()) path = Wide(program_path);
  std::wstring root(32'768, L'\0');
  if (!GetVolumePathNameW(path.c_str(), root.data(), static_cast<DWORD>(root.size()))) {
    return DRIVE_UNKNOWN;
  }
  return GetDriveTypeW(root.c_str());
}

}  // namespace

std::wstring Wide(std::string_view text) { return WideFrom(CP_UTF8, 0, text); }

std::string Narrow(std::wstring_view text) {
  static_assert(sizeof(wchar_t) == 2);
  return Utf16ToUtf8({reinterpret_cast<const std::uint8_t*>(text.data()), text.size() * 2});
}

std::string InputText(std::string line) {
  if (line.empty() || !WideFrom(CP_UTF8, MB_ERR_INVALID_CHARS, line).empty()) return line;
  return Narrow(WideFrom(PipedCodePage(), 0, line));
}

std::optional<std::string> Environment(const std::string& name) {
  std::wstring value(32'768, L'\0');  // no variable is longer
  SetLastError(ERROR_SUCCESS);
  const DWORD size =
      GetEnvironmentVariableW(Wide(name).c_str(), value.data(), static_cast<DWORD>(value.size()));
  if (size == 0 && GetLastError() == ERROR_ENVVAR_NOT_FOUND) return std::nullopt;
  if (size >= value.size()) return std::nullopt;
  value.resize(size);
  return Narrow(value);
}

bool IsAdmin() {
  OSVERSIONINFOW version;
  if (!ReadVersion(version)) return false;
  return version.dwMajorVersion < kVistaMajor ? IsUserAnAdmin() != FALSE : TokenGivesAdmin();
}

bool IsVistaOrLater() {
  OSVERSIONINFOW version;
  return ReadVersion(version) && version.dwPlatformId == VER_PLATFORM_WIN32_NT &&
         version.dwMajorVersion >= kVistaMajor;
}

bool OnWindows() { return true; }

void PrepareProcess() { SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX); }

bool DisableFsRedirection() {
  using Disable = BOOL(WINAPI*)(PVOID*);
  // The functions are missing on 32-bit systems, so they are looked up, once.
  static const Disable disable = [] {
    const HMODULE kernel = LoadLibraryW(L"kernel32.dll");
    if (kernel == nullptr || !GetProcAddress(kernel, "Wow64RevertWow64FsRedirection")) {
      return Disable{};
    }
    const FARPROC found = GetProcAddress(kernel, "Wow64DisableWow64FsRedirection");
    return reinterpret_cast<Disable>(reinterpret_cast<void*>(found));
  }();
  // Never reverted, so the previous state is not asked for.
  return disable != nullptr && disable(nullptr) != FALSE;
}

std::optional<std::string> WindowsDirectory() {
  std::array<wchar_t, 256> path{};
  const UINT size = GetWindowsDirectoryW(path.data(), static_cast<UINT>(path.size()));
  if (size == 0 || size >= path.size()) return std::nullopt;
  return Narrow({path.data(), size});
}

MachineInfo DescribeMachine(const std::string& program_path) {
  MachineInfo machine;
  machine.host_label = HostName() + (OnNetworkDrive(program_path) ? " [remote]" : "");
  machine.is_64bit = Is64BitSystem();
  OSVERSIONINFOEXA version{};
  version.dwOSVersionInfoSize = sizeof version;
  if (!GetVersionExA(reinterpret_cast<OSVERSIONINFOA*>(&version))) return machine;
  const std::string number =
      std::to_string(version.dwMajorVersion) + "." + std::to_string(version.dwMinorVersion) + ".";
  machine.os_family = "Windows";
  machine.os_release = number + ProductType(version.wProductType);
  if (version.wServicePackMajor > 0) {
    machine.os_release += ".sp." + std::to_string(version.wServicePackMajor) + "." +
                          std::to_string(version.wServicePackMinor);
  }
  machine.os_version = number + std::to_string(version.dwBuildNumber);
  machine.valid = true;
  return machine;
}

std::string HostName() {
  std::array<wchar_t, 8192> name{};
  auto size = static_cast<DWORD>(name.size());
  if (!GetComputerNameW(name.data(), &size)) return "<unk>";
  return Narrow({name.data(), size});
}

bool OnNetworkDrive(const std::string& program_path) {
  return DriveType(program_path) == DRIVE_REMOTE;
}

bool OnRemovableDrive(const std::string& program_path) {
  return DriveType(program_path) == DRIVE_REMOVABLE;
}

// Large pages are a privilege of services here.
void ExpectFilled(void*, std::size_t) {}

std::optional<std::uint64_t> AvailableMemory() {
  MEMORYSTATUSEX memory{};
  memory.dwLength = sizeof memory;
  if (!GlobalMemoryStatusEx(&memory)) return std::nullopt;
  return std::min<std::uint64_t>(memory.ullAvailPhys, memory.ullAvailPageFile);
}

std::uint64_t CurrentFiletime() {
  FILETIME now{};
  GetSystemTimeAsFileTime(&now);
  return (std::uint64_t{now.dwHighDateTime} << 32) | now.dwLowDateTime;
}

std::vector<std::string> CommandLineArguments(int, char**) {
  std::vector<std::string> arguments;
  int count = 0;
  wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count);
  if (wide == nullptr) return arguments;
  for (int i = 0; i < count; ++i) arguments.push_back(Narrow(wide[i]));
  LocalFree(wide);
  return arguments;
}

}  // namespace tarnlex
