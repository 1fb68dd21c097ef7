# Compares what the shared library exports with what it promises. Run with -DNM=,
# -DLIBRARY= and -DC_HEADER=.
execute_process(COMMAND ${NM} --dynamic --defined-only --demangle --format=posix ${LIBRARY}
                OUTPUT_VARIABLE listing COMMAND_ERROR_IS_FATAL ANY)

set(classes
    ConfigManager LogSink NodeIo PerfGroupConfig ControlInfoConfig
    PerfQosConfig PerfQosFreqConfig PerfQosDdrConfig PerfQosEasConfig PerfQosIpaPowerConfig
    PerfQosTargetRatioConfig PerfQosXmlLoadConfig
    FreqParameters DdrParameters EasParameters IpaPowerParameters)
set(functions
    GetcontrolInfo GetPerfQosConfigMap GetConfigurableScenarioVec GetConfigurableEventVec
    PerfQosName PerfEasGroupName SetLogSink VLogPrint SetNodeIo GetNodeIo
    PfLogonNamespace::PfLogonSet PfLogonNamespace::PfLogonGet
    BindSysTrace UnbindSysTrace LostSysTraceMarkers)
set(operations
    ConfigManager::ConfigManager ConfigManager::~ConfigManager ConfigManager::Init
    ConfigManager::PerfRequest ConfigManager::PerfRelease ConfigManager::PerfReleaseAll
    ConfigManager::Reset
    ConfigManager::PerfSetScenario ConfigManager::PerfSetMode ConfigManager::PerfSetSuspend
    ConfigManager::PerfEvent ConfigManager::StartEvent ConfigManager::StopEvent
    ConfigManager::StartProbe ConfigManager::StopProbe
    ConfigManager::Dump ConfigManager::DumpInfo ConfigManager::TaskDump
    ConfigManager::Inspect ConfigManager::DumpFreqLimitHistory ConfigManager::DumpCoreVersion
    ConfigManager::DebugSet ConfigManager::GetGameStartFlag)
# The functions of the C interface are read from its header.
file(STRINGS ${C_HEADER} c_declarations REGEX "corebeacon_[a-z_]+\\(")
set(c_functions "")
foreach(line IN LISTS c_declarations)
  string(REGEX MATCH "corebeacon_[a-z_]+\\(" name "${line}")
  string(REPLACE "(" "" name "${name}")
  list(APPEND c_functions ${name})
endforeach()
list(LENGTH c_functions c_count)
if(c_count LESS 30)
  message(SEND_ERROR "the functions of ${C_HEADER} are no longer recognised")
endif()

list(JOIN classes "|" class_pattern)
list(JOIN functions "|" function_pattern)
set(allowed "^(typeinfo name for |typeinfo for |vtable for )?corebeacon::(${class_pattern})[: ]")
set(allowed "${allowed}|^corebeacon::(${function_pattern})(\\[abi:cxx11\\])?\\(")
list(JOIN c_functions "|" c_pattern)
set(allowed "${allowed}|^(${c_pattern}) ")

# Arrays in a demangled name would be read as list syntax.
string(REPLACE ";" " " listing "${listing}")
string(REPLACE "[abi:cxx11]" "" listing "${listing}")
string(REGEX REPLACE "[][]" "_" listing "${listing}")
string(REPLACE "\n" ";" symbols "${listing}")

set(surplus "")
foreach(symbol IN LISTS symbols)
  if(symbol AND NOT symbol MATCHES "${allowed}")
    string(APPEND surplus "\n  ${symbol}")
  endif()
endforeach()
set(lacking "")
foreach(promise IN LISTS functions operations)
  string(FIND "${listing}" "corebeacon::${promise}(" place)
  if(place EQUAL -1)
    string(APPEND lacking "\n  ${promise}")
  endif()
endforeach()
foreach(promise IN LISTS c_functions)
  string(FIND ";${symbols}" ";${promise} " place)
  if(place EQUAL -1)
    string(APPEND lacking "\n  ${promise}")
  endif()
endforeach()

if(surplus)
  message(SEND_ERROR "exported, but promised to nobody:${surplus}")
endif()
if(lacking)
  message(SEND_ERROR "promised, but not exported:${lacking}")
endif()
