// The process around a run: its arguments, its streams, its exit code.
#include "app/run.h"
#include "logs/platform.h"

int main(int argc, char** argv) {
  tarnlex::PrepareProcess();
  tarnlex::Console console;
  console.out = tarnlex::MakeSink(tarnlex::WriteStandardOutput);
  console.err = tarnlex::MakeSink(tarnlex::WriteStandardError);
  console.read_input = tarnlex::ReadStandardInput;
  console.out_is_terminal = tarnlex::StandardOutputIsTerminal();
  console.out_width = tarnlex::StandardOutputWidth();
  console.err_is_terminal = tarnlex::StandardErrorIsTerminal();
  console.reader_gone = tarnlex::StandardOutputReaderGone;
  console.interrupted = tarnlex::Interrupted;
  console.err_columns = tarnlex::StandardErrorColumns;
  tarnlex::KeepRunningOnBrokenPipe();
  tarnlex::CatchInterrupts();
  const int code = tarnlex::RunApp(tarnlex::CommandLineArguments(argc, argv), console);
  if (code == tarnlex::kInterruptedRun) tarnlex::EndInterrupted();
  return code;
}
