// The files that the cases of tests/golden are run on: small logs of both generations, and files
// that are none.
#pragma once

#include <string>

namespace tarnlex {

// Security.evtx       three logons of 7 March 2012 as the security log holds them
// System.evtx         start, stop, sleep and resume, a clock change and a USB driver
// plain.evtx          two providers, two ids, all five levels; texts with separators and line
// breaks copy1.evtx          a security log by its channel, not by its name accounts/Security.evtx
// password, clock, credential and logon events
// umdf/Microsoft-Windows-DriverFrameworks-UserMode%4Operational.evtx
// SecEvent.Evt, SysEvent.Evt, app/AppEvent.Evt    their forerunners
// accounts/SecEvent.Evt   password, clock, credential and logon records
// times.evtx, times.evt   events whose time is no instant, or out of order
// volume/             a volume of Windows XP with a system log
// chunk.bin           a chunk without file header
// disk.img            chunks, pieces of chunks and records of both generations
// tampered/           logs with a dirty header, a gap, time that goes back, a cleared log and, in
// the
//                     EVTX one, a chunk whose checksum does not hold
// damaged.evtx        a record whose template is out of reach between two sound ones
// empty.evtx, notes.txt   no logs
void WriteSampleFiles(const std::string& directory);

}  // namespace tarnlex
