// The process around a run: its arguments, its streams, its exit code.
#include "app/run.h"
#include "logs/platform.h"

int main(int argc, char** argv) {
  tarnlex::PrepareProcess();
  tarnlex::Console console;
  console.out = tarnlex::MakeSink(tarnlex::WriteStandardOutput);
  console.err = tarnlex::MakeSink(tarnlex::WriteStandardError);
  console.read_input = tarnlex::ReadStandardInput;
  return tarnlex::RunApp(tarnlex::CommandLineArguments(argc, argv), console);
}
