// The real program, started through a shell as a user would: what passes the process boundary
// (arguments, standard input, exit codes, whole files) and nothing else.
#include <sys/wait.h>

#include <cstdlib>

#include "tests/end_to_end/in_process.h"
#include "tests/end_to_end/sample_files.h"

namespace tarnlex {
namespace {

struct ProgramTest : testing::Test {
  TempDirectory directory;
  ProgramTest() { WriteSampleFiles(directory.path); }

  // Runs a shell command in which $TARNLEX is the program.
  Outcome Shell(const std::string& command) const {
    const std::string whole = "cd '" + directory.path + "' && TARNLEX='" TARNLEX_PROGRAM "' && { " +
                              command + "; } >shell.out 2>shell.err";
    const int status = std::system(whole.c_str());
    EXPECT_TRUE(WIFEXITED(status)) << command;
    return {WEXITSTATUS(status), ReadFile(directory.path + "/shell.out"),
            ReadFile(directory.path + "/shell.err")};
  }
};

TEST_F(ProgramTest, WritesWhatTheRunInProcessWrites) {
  const Outcome inside =
      RunIn(directory.path, {"-log", "plain.evtx | SecEvent.Evt", "-csv", "-quiet"});
  const Outcome outside = Shell("\"$TARNLEX\" -log 'plain.evtx | SecEvent.Evt' -csv -quiet");
  EXPECT_EQ(outside.code, 0);
  EXPECT_NE(BehindRunHeader(outside.out), "");
  EXPECT_EQ(BehindRunHeader(outside.out), BehindRunHeader(inside.out));
  EXPECT_EQ(outside.err, inside.err);
}

TEST_F(ProgramTest, EndsWithAllBitsSetAfterAFailure) {
  EXPECT_EQ(Shell("\"$TARNLEX\" -csv").code, 255);
  EXPECT_EQ(Shell("\"$TARNLEX\" -log plain.evtx -sqlite x").code, 255);
  EXPECT_EQ(Shell("\"$TARNLEX\" --help").code, 0);
  EXPECT_EQ(Shell("\"$TARNLEX\" -log gone.evtx").code, 0);
}

// Nothing of it changes what is read, and with -strict nothing is read at all.
TEST_F(ProgramTest, RemarksOnMisuseAndEndsThereWhenStrict) {
  directory.AddFile("c.txt", "!cmd, -enum_evtlog, -id, 12, -conditons, string|x\n");
  for (const char* misuse : {"-evntid 7045", "--eventid 7045", "-eventid=7045", "-start-time X",
                             "-start_time 2030-13-45", "-eventid 12 -eventid 13", "-log plain.evtx",
                             "more.evtx", "-stats -csvgen", "-cmdfile c.txt"}) {
    const std::string run =
        std::string("\"$TARNLEX\" -log SysEvent.Evt -quiet -out o -diags d ") + misuse;
    const Outcome lenient = Shell(run);
    EXPECT_EQ(lenient.code, 0) << misuse;
    // One line, and the empty one that every run begins with.
    EXPECT_EQ(std::count(lenient.err.begin(), lenient.err.end(), '\n'), 2) << lenient.err;
    EXPECT_NE(ReadFile(directory.path + "/o"), "") << misuse;
    const Outcome strict = Shell("rm o d; " + run + " -strict");
    EXPECT_EQ(strict.code, 255) << misuse;
    EXPECT_EQ(strict.err,
              lenient.err.substr(0, lenient.err.size() - 1) + "not run, as -strict is given\n");
    EXPECT_FALSE(std::filesystem::exists(directory.path + "/o")) << misuse;
    EXPECT_FALSE(std::filesystem::exists(directory.path + "/d")) << misuse;
  }
}

TEST_F(ProgramTest, EndsWithoutItsCommandFileWhenStrict) {
  const Outcome run = Shell("\"$TARNLEX\" -strict -log SysEvent.Evt -cmdfile gone.txt -out o");
  EXPECT_EQ(run.code, 255);
  EXPECT_NE(run.err.find("prob opening command file gone.txt, skipping\nnot run"),
            std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(directory.path + "/o"));
}

TEST_F(ProgramTest, RunsAWellFormedCommandLineWhenStrict) {
  const Outcome run = Shell("\"$TARNLEX\" -strict -log SysEvent.Evt -quiet -csvgen");
  EXPECT_EQ(run.code, 0);
  EXPECT_EQ(run.err, "\n");
  EXPECT_NE(BehindRunHeader(run.out), "");
}

TEST_F(ProgramTest, TellsItsVersionCommitAndBuild) {
  const Outcome run = Shell("\"$TARNLEX\" --version");
  EXPECT_EQ(run.code, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_TRUE(run.out.starts_with("tarnlex ver: 0.33\ncommit: ")) << run.out;
  EXPECT_NE(run.out.find("\nbuild: "), std::string::npos) << run.out;
  EXPECT_EQ(Shell("\"$TARNLEX\" -VERSION").out, run.out);
}

// Linux takes any bytes as the name of a file and as an argument.
TEST_F(ProgramTest, WritesUtf8WhateverBytesItIsGivenWhenComplete) {
  const std::string run =
      "\"$TARNLEX\" -log \"$(printf 'Zo\\353.evtx')\" -username \"$(printf 'm\\374')\" "
      "-csvl2t -eventid 2 -quiet -stats s.txt -diags d.txt ";
  const Outcome plain = Shell("cp plain.evtx \"$(printf 'Zo\\353.evtx')\"; " + run);
  EXPECT_NE(plain.out.find("Zo\xEB.evtx"), std::string::npos);
  const Outcome complete =
      Shell(run + "-complete; " + run + "-complete -out o.csv; cat o.csv s.txt d.txt >all.txt");
  const std::string files = ReadFile(directory.path + "/all.txt");
  for (const std::string& text : {complete.out, files}) {
    EXPECT_NE(text.find("Zo\uFFFD.evtx"), std::string::npos) << text;
    EXPECT_NE(text.find("m\uFFFD"), std::string::npos) << text;
    EXPECT_EQ(text.find_first_of("\xEB\xFC"), std::string::npos) << text;
  }
}

TEST_F(ProgramTest, ReadsPathsFromAPipe) {
  const Outcome run =
      Shell("ls *.Evt | sed 's/$/\\r/' | \"$TARNLEX\" -pipe -csvgen -eventid 12,529 -quiet");
  EXPECT_EQ(run.code, 0);
  EXPECT_EQ(BehindRunHeader(run.out),
            "Record#,EventID,Date,Time-UTC,Level,computer name,param_01,param_02,source name,"
            "event log\n"
            "2,529,11/02/2006, 08:20:00.000,unk,WKS-ALPHA,mallory|x,MARLOW;line,Security,"
            "SecEvent.Evt\n"
            "Record#,EventID,Date,Time-UTC,Level,computer name,source name,event log\n"
            "1,12,11/02/2006, 07:00:00.000,info,WKS-ALPHA,Kernel,SysEvent.Evt\n");
}

TEST_F(ProgramTest, NeverStopsForALineLongerThanItsBuffer) {
  // 4,095 bytes are one piece; what follows on the same line is the next.
  const Outcome run = Shell(
      "{ head -c 4095 /dev/zero | tr '\\0' x; printf 'SysEvent.Evt\\n'; } | "
      "\"$TARNLEX\" -pipe -csvgen -eventid 12 -quiet");
  EXPECT_EQ(run.code, 0);
  EXPECT_TRUE(
      run.out.ends_with("1,12,11/02/2006, 07:00:00.000,info,WKS-ALPHA,Kernel,SysEvent.Evt\n"));
}

TEST_F(ProgramTest, NamesALogThatMayNotBeRead) {
  // An administrator may read everything, so somebody else has to ask then.
  const Outcome run = Shell(
      "chmod 0 plain.evtx && chmod 755 . && cp \"$TARNLEX\" copy && as_other= && "
      "if [ $(id -u) -eq 0 ]; then as_other='setpriv --reuid 65534 --clear-groups'; fi && "
      "$as_other ./copy -log 'plain.evtx | SysEvent.Evt' -csvgen -eventid 12 -quiet");
  EXPECT_EQ(run.code, 0);
  EXPECT_EQ(run.err,
            "... running w/o admin privileges ...\nprob opening log plain.evtx, skipping\n\n"
            "not opened: 1 log (plain.evtx); -account FILE names them\n");
  EXPECT_TRUE(
      run.out.ends_with("1,12,11/02/2006, 07:00:00.000,info,WKS-ALPHA,Kernel,SysEvent.Evt\n"));
}

TEST_F(ProgramTest, NamesAnOldFileThatItMayNotRemove) {
  const Outcome run = Shell(
      "mkdir out && echo old >out/plain.evtx.csv && echo old >out/SysEvent.Evt.csv && "
      "chmod 555 out && chmod 755 . && cp \"$TARNLEX\" copy && as_other= && "
      "if [ $(id -u) -eq 0 ]; then as_other='setpriv --reuid 65534 --clear-groups'; fi && "
      "$as_other ./copy -log plain.evtx -eventid 99999 -csvgen -outdir out -quiet");
  EXPECT_EQ(run.code, 255);
  EXPECT_EQ(run.err,
            "... running w/o admin privileges ...\n\n"
            "prob removing file out/plain.evtx.csv of an earlier run\n");
}

// The shell opens these before the program starts.
TEST_F(ProgramTest, LeavesTheFilesOfItsStreamsWhereTheyAre) {
  const Outcome run = Shell(
      "mkdir out && echo plain.evtx >out/SysEvent.Evt.txt && "
      "{ echo plain.evtx; echo SysEvent.Evt; echo SecEvent.Evt; } >out/SecEvent.Evt.txt && "
      "\"$TARNLEX\" -pipe -eventid 99999 -outdir out <out/SecEvent.Evt.txt >out/plain.evtx.txt "
      "2>out/err.txt; ls out");
  EXPECT_EQ(run.out, "SecEvent.Evt.txt\nerr.txt\nplain.evtx.txt\n");
}

TEST_F(ProgramTest, LeavesOldFilesWhenItIsCutShort) {
  const Outcome run = Shell(
      "mkdir out && echo old >out/plain.evtx.txt && "
      "\"$TARNLEX\" -log plain.evtx -eventid 99999 -outdir out -stats /dev/full; ls out");
  EXPECT_EQ(run.out.substr(run.out.find("\n\n") + 2), "plain.evtx.txt\n");
}

TEST_F(ProgramTest, LeavesItsLogsUntouched) {
  const std::string before = Shell("cksum *.evtx *.Evt */*.evtx */*.Evt").out;
  Shell(
      "\"$TARNLEX\" -log 'plain.evtx|SecEvent.Evt|damaged.evtx' -stats s.txt -diags d.txt -out o");
  EXPECT_EQ(Shell("cksum *.evtx *.Evt */*.evtx */*.Evt").out, before);
  EXPECT_NE(ReadFile(directory.path + "/o"), "");
}

TEST_F(ProgramTest, NamesWhatItCouldNotDecodeInTheDiagnostics) {
  const Outcome run = Shell("\"$TARNLEX\" -log damaged.evtx -csv -diags trace.txt -quiet");
  EXPECT_EQ(run.code, 0);
  const std::string trace = ReadFile(directory.path + "/trace.txt");
  EXPECT_TRUE(trace.starts_with("->\"" TARNLEX_PROGRAM "\" \"-log\" \"damaged.evtx\" "));
  const std::size_t second = trace.find("\nrecord 2 at file offset 0x");
  const std::size_t third = trace.find("\nrecord 3 at file offset 0x");
  ASSERT_NE(second, std::string::npos);
  ASSERT_NE(third, std::string::npos);
  const std::size_t reason = trace.find("\nprob accessing template, aborting\n");
  EXPECT_LT(second, reason);
  EXPECT_LT(reason, third);
  EXPECT_EQ(trace.find("prob accessing", reason + 10), std::string::npos);
  EXPECT_NE(trace.find("\n--- account of damaged.evtx\n"), std::string::npos);
}

}  // namespace
}  // namespace tarnlex
