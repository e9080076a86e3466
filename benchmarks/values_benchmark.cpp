// W1 to W7: values, beside the libraries that one would pick instead.
#include "benchmarks/harness.h"
#include "benchmarks/values/peers.h"

int main(int argumentCount, char** arguments) {
  benchmarks::addDataT();
  benchmarks::addBoostJson();
  benchmarks::addNlohmann();
  benchmarks::addRapidJson();
  benchmarks::addHashMaps();
  return benchmarks::run(argumentCount, arguments);
}
