// The libraries of the value workloads; each adds its cases.
#pragma once

namespace benchmarks {

void addDataT();
void addBoostJson();
void addNlohmann();
void addRapidJson();
void addHashMaps();

}  // namespace benchmarks
