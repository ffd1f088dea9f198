// make_sample_log OUT_DIR: writes a day of an invented computer as Security.evtx and System.evtx,
// and a day of its forerunner as SecEvent.Evt and SysEvent.Evt, for the demonstration, for the
// commands in the documents and for trying things out. Cleared.evtx and Cleared.Evt are the
// security logs after somebody has cleared them: they have begun to be filled anew.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "tests/support/evt_builder.h"
#include "tests/support/evtx_builder.h"

namespace tarnlex::support {
namespace {

constexpr std::string_view kMachine = "S-1-5-21-1004336348-1177238915-682003330-";
constexpr std::string_view kDomain = "MARLOW";

std::string SidOf(int rid) { return std::string(kMachine).append(std::to_string(rid)); }

struct Account {
  const char* name;
  int rid;
};
constexpr Account kUsers[] = {{"p.wren", 1104}, {"i.falk", 1107}, {"t.sorel", 1112}};
constexpr Account kAdministrator = {"Administrator", 500};

// "SubjectUserSid", "SubjectUserName", ... of one account; `role` is "Subject" or "Target".
void AddAccount(std::vector<DataField>& data, const std::string& role, const Account& account) {
  data.emplace_back(role + "UserSid", SidValue(SidOf(account.rid)));
  data.emplace_back(role + "UserName", account.name);
  data.emplace_back(role + "DomainName", kDomain);
}

Event SecurityEvent(std::uint32_t id, std::uint16_t task, std::uint64_t time) {
  Event event{.event_id = id, .task = task, .time = time, .computer = "MARLOW-WS04"};
  event.keywords = id == 4625 ? 0x8010000000000000 : 0x8020000000000000;
  return event;
}

void AddOrigin(std::vector<DataField>& data, const std::string& address) {
  data.emplace_back("ProcessId", HexInt64Value(0x2F4));
  data.emplace_back("ProcessName", "C:\\Windows\\System32\\svchost.exe");
  data.emplace_back("IpAddress", address);
  data.emplace_back("IpPort", address == "-" ? "-" : "49810");
}

Event Logon(const Account& user, unsigned type, std::uint64_t session, std::uint64_t time) {
  Event event = SecurityEvent(4624, 12544, time);
  AddAccount(event.data, "Subject", kAdministrator);
  event.data.emplace_back("SubjectLogonId", HexInt64Value(0x3E7));
  AddAccount(event.data, "Target", user);
  event.data.emplace_back("TargetLogonId", HexInt64Value(session));
  event.data.emplace_back("LogonType", UInt32Value(type));
  event.data.emplace_back("LogonProcessName", type == 3 ? "NtLmSsp " : "User32 ");
  event.data.emplace_back("AuthenticationPackageName", type == 3 ? "NTLM" : "Negotiate");
  event.data.emplace_back("WorkstationName", "MARLOW-WS04");
  AddOrigin(event.data, type == 2 || type == 5 ? "-" : "192.0.2.41");
  return event;
}

Event FailedLogon(const Account& user, std::uint64_t time) {
  Event event = SecurityEvent(4625, 12544, time);
  event.data.emplace_back("TargetUserSid", SidValue("S-1-0-0"));
  event.data.emplace_back("TargetUserName", user.name);
  event.data.emplace_back("TargetDomainName", kDomain);
  event.data.emplace_back("Status", HexInt32Value(0xC000006D));
  event.data.emplace_back("FailureReason", "%%2313");
  event.data.emplace_back("SubStatus", HexInt32Value(0xC000006A));
  event.data.emplace_back("LogonType", UInt32Value(10));
  AddOrigin(event.data, "198.51.100.23");
  return event;
}

Event Logoff(const Account& user, unsigned type, std::uint64_t session, std::uint64_t time) {
  Event event = SecurityEvent(4634, 12545, time);
  AddAccount(event.data, "Target", user);
  event.data.emplace_back("TargetLogonId", HexInt64Value(session));
  event.data.emplace_back("LogonType", UInt32Value(type));
  return event;
}

Event Privileges(const Account& user, std::uint64_t session, std::uint64_t time) {
  Event event = SecurityEvent(4672, 12548, time);
  AddAccount(event.data, "Subject", user);
  event.data.emplace_back("SubjectLogonId", HexInt64Value(session));
  event.data.emplace_back("PrivilegeList", "SeSecurityPrivilege\r\n\t\t\tSeBackupPrivilege");
  return event;
}

Event RunAs(const Account& user, std::uint64_t time) {
  Event event = SecurityEvent(4648, 12544, time);
  AddAccount(event.data, "Subject", user);
  event.data.emplace_back("TargetUserName", kAdministrator.name);
  event.data.emplace_back("TargetDomainName", kDomain);
  event.data.emplace_back("TargetServerName", "localhost");
  AddOrigin(event.data, "-");
  return event;
}

Event TimeChange(std::uint64_t before, std::uint64_t after) {
  Event event = SecurityEvent(4616, 12288, before);
  AddAccount(event.data, "Subject", kAdministrator);
  event.data.emplace_back("PreviousTime", FileTimeValue(before));
  event.data.emplace_back("NewTime", FileTimeValue(after));
  event.data.emplace_back("ProcessId", HexInt64Value(0x5DC));
  event.data.emplace_back("ProcessName", "C:\\Windows\\System32\\rundll32.exe");
  return event;
}

// What was done to an account: created, changed, its password changed, ...
Event AccountEvent(std::uint32_t id, const Account& target, std::uint64_t time) {
  Event event = SecurityEvent(id, 13824, time);
  event.data.emplace_back("TargetUserName", target.name);
  event.data.emplace_back("TargetDomainName", kDomain);
  event.data.emplace_back("TargetSid", SidValue(SidOf(target.rid)));
  AddAccount(event.data, "Subject", kAdministrator);
  event.data.emplace_back("SubjectLogonId", HexInt64Value(0x8F21));
  if (id == 4720 || id == 4738) {
    event.data.emplace_back("SamAccountName", target.name);
    event.data.emplace_back("PasswordLastSet", "%%1794");
  }
  return event;
}

ByteString SecurityLog() {
  EvtxBuilder log;
  const auto at = [](int hour, int minute, int second) {
    return Filetime(2023, 3, 14, hour, minute, second, 1'234'567);
  };
  std::uint64_t session = 0x1A2B3;
  for (int hour = 7; hour < 12; ++hour) {
    for (const Account& user : kUsers) {
      const unsigned type = user.rid == 1104 ? 2 : user.rid == 1107 ? 3 : 10;
      log.AddEvent(Logon(user, type, session, at(hour, user.rid % 60, 5)));
      log.AddEvent(Logoff(user, type, session, at(hour, user.rid % 60, 47)));
      session += 0x1F3;
    }
    log.AddEvent(FailedLogon(kUsers[hour % 3], at(hour, 48, hour)));
  }
  log.AddEvent(Privileges(kAdministrator, session, at(12, 2, 0)));
  log.AddEvent(RunAs(kUsers[2], at(12, 3, 30)));
  // The second half of the day stands in a chunk of its own.
  log.AddChunk();
  const Account created = {"helpdesk7", 1121};
  log.AddEvent(Logon(kAdministrator, 10, session, at(12, 10, 0)));
  for (const std::uint32_t id : {4720U, 4722U, 4738U, 4724U}) {
    log.AddEvent(AccountEvent(id, created, at(12, 11, static_cast<int>(id % 60))));
  }
  log.AddEvent(AccountEvent(4723, kUsers[0], at(12, 20, 9)));
  log.AddEvent(TimeChange(at(12, 25, 0), at(9, 25, 0)));
  for (int minute = 0; minute < 12; ++minute) {
    log.AddEvent(FailedLogon(kAdministrator, at(13, minute, 3 * minute)));
  }
  log.AddEvent(Logoff(kAdministrator, 10, session, at(13, 30, 0)));
  log.AddEvent(AccountEvent(4726, created, at(13, 31, 0)));
  return log.Build();
}

ByteString ClearedLog() {
  EvtxBuilder young;
  Event cleared = SecurityEvent(1102, 104, Filetime(2023, 3, 14, 15, 0, 0, 1234567));
  cleared.provider = "Microsoft-Windows-Eventlog";
  cleared.provider_guid = "fc65ddd8-d6ef-4962-83d5-6e5cfe9ce148";
  AddAccount(cleared.data, "Subject", kUsers[2]);
  young.AddEvent(std::move(cleared));
  ByteString log = young.Build();
  const ByteString old = SecurityLog();
  // What the new record does not take is left, and a chunk of which the header is gone.
  const std::size_t free = RecordOffset(log, 0, 1);
  log.resize(free);
  log.insert(log.end(), old.begin() + static_cast<std::ptrdiff_t>(free), old.end());
  SetBytes(log, ChunkOffset(1), ByteString(kEvtxFirstRecord));
  return log;
}

Event SystemEvent(std::uint32_t id, const char* provider, const char* guid, std::uint64_t time) {
  Event event{.provider = provider,
              .provider_guid = guid,
              .event_id = id,
              .level = 4,
              .keywords = 0x8000000000000000,
              .time = time,
              .channel = "System",
              .computer = "MARLOW-WS04"};
  return event;
}

ByteString SystemLog() {
  constexpr const char* kKernelGeneral = "a68ca8b7-004f-d7b6-a698-07e2de0f1f5d";
  constexpr const char* kKernelPower = "331c3b3a-2005-44c2-ac5e-77220c37d6b4";
  constexpr const char* kPowerTroubleshooter = "cdc05e28-c449-49c6-b9d2-88cf761644df";
  constexpr const char* kUserPnp = "96f4a050-7e31-453c-88be-9634f4e02139";
  EvtxBuilder log;
  const auto at = [](int hour, int minute) { return Filetime(2023, 3, 14, hour, minute, 30, 0); };
  Event start = SystemEvent(12, "Microsoft-Windows-Kernel-General", kKernelGeneral, at(6, 55));
  start.data = {{"MajorVersion", UInt32Value(6)},
                {"MinorVersion", UInt32Value(1)},
                {"BuildVersion", UInt32Value(7601)},
                {"StartTime", FileTimeValue(at(6, 54))}};
  log.AddEvent(start);
  Event sleep = SystemEvent(42, "Microsoft-Windows-Kernel-Power", kKernelPower, at(9, 5));
  sleep.data = {{"TargetState", UInt32Value(4)}};
  log.AddEvent(sleep);
  Event resume =
      SystemEvent(1, "Microsoft-Windows-Power-Troubleshooter", kPowerTroubleshooter, at(9, 40));
  resume.data = {{"SleepTime", FileTimeValue(at(9, 5))}, {"WakeTime", FileTimeValue(at(9, 40))}};
  log.AddEvent(resume);
  Event stick = SystemEvent(20001, "Microsoft-Windows-UserPnp", kUserPnp, at(12, 31));
  stick.data = {{"DriverName", "disk.inf"},
                {"DeviceInstanceID", "USBSTOR\\DISK&VEN_EXAMPLE&PROD_STICK\\0123456789AB&0"},
                {"DriverProvider", "Microsoft"}};
  log.AddEvent(stick);
  Event restart = SystemEvent(1074, "USER32", "", at(13, 35));
  restart.data = {{"", "C:\\Windows\\system32\\winlogon.exe (MARLOW-WS04)"},
                  {"", "MARLOW-WS04"},
                  {"", "power off"}};
  log.AddEvent(restart);
  Event stop = SystemEvent(13, "Microsoft-Windows-Kernel-General", kKernelGeneral, at(13, 36));
  stop.data = {{"StopTime", FileTimeValue(at(13, 36))}};
  log.AddEvent(stop);
  return log.Build();
}

EvtEntry OldSecurityEntry(std::uint32_t id, int hour, std::uint16_t type,
                          std::vector<std::string> strings) {
  return {.time = UnixTime(2006, 11, 2, hour, 14, 9),
          .event_id = id,
          .type = type,
          .category = 2,
          .computer = "MARLOW-XP2",
          .sid = SidOf(1104),
          .strings = std::move(strings)};
}

ByteString OldSecurityLog() {
  EvtBuilder log;
  const std::string domain(kDomain);
  for (int hour = 8; hour < 16; ++hour) {
    const std::string name = kUsers[hour % 3].name;
    log.AddEntry(
        OldSecurityEntry(528, hour, 8,
                         {name, domain, "(0x0,0x1A2B3)", "2", "User32", "Negotiate", "MARLOW-XP2",
                          "-", "MARLOW-XP2$", domain, "(0x0,0x3E7)", "540", "-", "-", "-"}));
    log.AddEntry(OldSecurityEntry(538, hour, 8, {name, domain, "(0x0,0x1A2B3)", "2"}));
  }
  log.AddEntry(OldSecurityEntry(
      529, 16, 16,
      {"Administrator", domain, "10", "User32", "Negotiate", "MARLOW-XP2", "MARLOW-XP2$", domain,
       "(0x0,0x3E7)", "540", "-", "198.51.100.23", "3389"}));
  log.AddEntry(OldSecurityEntry(
      520, 17, 8,
      {"1500", "C:\\WINDOWS\\system32\\rundll32.exe", "p.wren", domain, "(0x0,0x1A2B3)", "p.wren",
       domain, "(0x0,0x1A2B3)", "17:14:09", "11/2/2006", "14:14:09", "11/2/2006", "end"}));
  return log.Build({.flags = kEvtDirty});
}

ByteString OldClearedLog() {
  ByteString file = OldSecurityLog();
  EvtBuilder log;
  log.AddEntry(OldSecurityEntry(
      517, 18, 8,
      {"SYSTEM", "NT AUTHORITY", "(0x0,0x3E7)", "p.wren", std::string(kDomain), "(0x0,0x1A2B3)"}));
  const ByteString young = log.Build({.flags = kEvtDirty});
  std::copy(young.begin(), young.end(), file.begin());
  return file;
}

ByteString OldSystemLog() {
  EvtBuilder log;
  const auto add = [&log](std::uint32_t id, std::uint16_t type, int minute, std::string source,
                          std::vector<std::string> strings) {
    log.AddEntry({.time = UnixTime(2006, 11, 2, 7, minute, 0),
                  .event_id = id,
                  .type = type,
                  .source = std::move(source),
                  .computer = "MARLOW-XP2",
                  .strings = std::move(strings)});
  };
  add(0x80001775, 4, 58, "EventLog", {});
  add(0x80001779, 4, 58, "EventLog", {"5.01.", "2600", "Service Pack 2", "Uniprocessor Free"});
  add(0x40001B7C, 4, 59, "Service Control Manager", {"Print Spooler", "running"});
  add(0xC0001B58, 1, 59, "Service Control Manager", {"Parallel port driver", "%%1058"});
  add(12, 4, 59, "Kernel", {"startup"});
  // The oldest record sits near the end of the file, which cuts one of them.
  return log.Build({.start = 1800, .file_size = 2048, .flags = kEvtWrapped});
}

bool Write(const std::filesystem::path& path, const ByteString& bytes) {
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
  file.close();
  if (!file) std::cerr << "cannot write " << path.string() << "\n";
  return static_cast<bool>(file);
}

}  // namespace
}  // namespace tarnlex::support

int main(int argc, char** argv) {
  using namespace tarnlex::support;
  if (argc != 2) {
    std::cerr << "usage: make_sample_log OUT_DIR\n";
    return 2;
  }
  const std::filesystem::path directory = argv[1];
  std::error_code ignored;  // a directory that cannot be made shows when its files are written
  std::filesystem::create_directories(directory, ignored);
  const bool written = Write(directory / "Security.evtx", SecurityLog()) &&
                       Write(directory / "System.evtx", SystemLog()) &&
                       Write(directory / "Cleared.evtx", ClearedLog()) &&
                       Write(directory / "SecEvent.Evt", OldSecurityLog()) &&
                       Write(directory / "Cleared.Evt", OldClearedLog()) &&
                       Write(directory / "SysEvent.Evt", OldSystemLog());
  return written ? 0 : 1;
}
