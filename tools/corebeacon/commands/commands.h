/// One function a subcommand, or a family of them: it adds itself to the set. Called once by main.
#pragma once

#include "commands/command_set.h"

namespace corebeacon::tool {

void AddPlayCommands(CommandSet& commands);  ///< demo, run, do, shell
void AddExplainCommand(CommandSet& commands);
void AddWatchCommand(CommandSet& commands);
void AddTableCommand(CommandSet& commands);
void AddCheckCommand(CommandSet& commands);
void AddBoardCommand(CommandSet& commands);
void AddCompleteCommand(CommandSet& commands);  ///< hidden
void AddPlanCommand(CommandSet& commands);
void AddSnapshotCommand(CommandSet& commands);
void AddReplayCommand(CommandSet& commands);

}  // namespace corebeacon::tool
