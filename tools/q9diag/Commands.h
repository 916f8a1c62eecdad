/// @file
/// Every command of the tool; each function describes its commands to the command line.
#pragma once

namespace vlm::tool {

class CommandLine;

void AddSettingsShow(CommandLine& rLine);
void AddSettingsBuild(CommandLine& rLine);
void AddSettingsEdit(CommandLine& rLine);  ///< get, set, delete
void AddSettingsDiff(CommandLine& rLine);
void AddSettingsVerify(CommandLine& rLine);
void AddState(CommandLine& rLine);  ///< pack, unpack, info
void AddCab(CommandLine& rLine);    ///< list, test, extract
void AddHash(CommandLine& rLine);
void AddFind(CommandLine& rLine);
void AddDimension(CommandLine& rLine);
void AddFile(CommandLine& rLine);     ///< read, write
void AddProtect(CommandLine& rLine);  ///< encrypt, decrypt
void AddIni(CommandLine& rLine);      ///< get, set, delete, sections, keys
void AddReg(CommandLine& rLine);      ///< hives, get, set, delete, list
void AddRegTree(CommandLine& rLine);  ///< tree, copy
void AddCounters(CommandLine& rLine);
void AddDebug(CommandLine& rLine);           ///< show, set, categories, reload
void AddPortMon(CommandLine& rLine);         ///< status, install, upgrade, remove
void AddPortMonRequest(CommandLine& rLine);  ///< request
void AddDriver(CommandLine& rLine);          ///< show, files, state
void AddPort(CommandLine& rLine);            ///< list, add, show
void AddDebugLog(CommandLine& rLine);        ///< log, clear
void AddQueue(CommandLine& rLine);           ///< list, sample
void AddQueueShow(CommandLine& rLine);       ///< show, data
void AddQueueSettings(CommandLine& rLine);
void AddModel(CommandLine& rLine);  ///< list, show, find, lookup, pdl, unpack, tidy
void AddModelPdl(CommandLine& rLine);
void AddModelCare(CommandLine& rLine);  ///< unpack, tidy  ///< of AddModel
void AddDemo(CommandLine& rLine);
void AddHelp(CommandLine& rLine);  ///< help, completion

}  // namespace vlm::tool
