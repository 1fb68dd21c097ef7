/// The groups of cases; each function registers its own. Called by main.
#pragma once

namespace corebeacon::bench {

void AddColdCalls();
void AddScenario();
void AddSlowNode();
void AddThroughput();
void AddGrowth();
void AddExpiry();
void AddArbitration();

}  // namespace corebeacon::bench
