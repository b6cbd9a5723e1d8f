# What the shared library shows: the functions and classes that hosts use, nothing private, and no unique symbol, which
# would pin the library in memory after dlclose.
execute_process(COMMAND ${NM} --dynamic --defined-only --demangle "${LIBRARY}" OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)

string(REGEX MATCHALL "[^\n]* [A-Za-z] private_[^\n]*" private "${symbols}")
foreach(symbol IN LISTS private)
  message(SEND_ERROR "exported, and private: ${symbol}")
endforeach()

string(REGEX MATCHALL "[^\n]* u [^\n]*" unique "${symbols}")
foreach(symbol IN LISTS unique)
  message(SEND_ERROR "unique symbol: ${symbol}")
endforeach()

# Instances of other people's templates: a library that is never unloaded could bind to one and pin this one.
execute_process(COMMAND ${NM} --dynamic --defined-only "${LIBRARY}" OUTPUT_VARIABLE mangled COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "_Z(NK?|T[VIST]N?)?(S|8tinyxml2|8CryptoPP)[^\n]*" foreign "${mangled}")
foreach(symbol IN LISTS foreign)
  message(SEND_ERROR "exported, and not ours: ${symbol}")
endforeach()

# Statics that host and library share must be there for the host to find.
foreach(shared "TList<TStr>::sinfo" "TMap<TStr, TStr>::sinfo" "TMap<TStr, QMXValue>::sinfo" "TStr::null" "Debug"
        "QMXPipeConduit::sLastSessionId" "COrbuUtilObjectManager::instance_" "orbu_exit_hook_marker"
        "COrbuUtilSingleton<COrbuIntResHandler>::singleton_" "COrbuUtilSingleton<OrbuLogger>::singleton_"
        "TTimer::mTimers")
  string(FIND "${symbols}" " ${shared}\n" at)
  if(at EQUAL -1)
    message(SEND_ERROR "not exported: ${shared}")
  endif()
endforeach()
