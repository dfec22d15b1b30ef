# Finds what an extension of Tcl 8.5 to 8.x is built from.
#
# tclConfig.sh is asked first, because it describes one installation
# consistently; it is a shell script (Debian's computes its folder), so the
# shell reads it. CMake's FindTCL is the fallback where there is none.
#
# Input:   ZEL_TCL_CONFIG, a tclConfig.sh or its folder; then no other is tried.
# Results: TclStubs_VERSION, TclStubs_INCLUDE_DIR (tcl.h), TclStubs_LIBRARY
#          (the stub library), TclStubs_PRIVATE_INCLUDE_DIRS (tclInt.h and what
#          it includes) and the cache entry TCL_TCLSH (a tclsh to test with).
# Ends with one FATAL_ERROR that says what to install when anything is missing.

set(_tcl_rejected "")

macro(_tcl_reject reason)
  string(APPEND _tcl_rejected "\n  ${reason}")
endmacro()

# Sets `result` to the value that tclConfig.sh `file` gives the variable `name`.
function(_tcl_config_get file name result)
  execute_process(
    COMMAND sh -c ". \"$1\" && printf %s \"\$${name}\"" sh "${file}"
    OUTPUT_VARIABLE value ERROR_QUIET)
  set(${result} "${value}" PARENT_SCOPE)
endfunction()

# The folders in which tclConfig.sh is usually found; Tcl's version in the
# folder's name tells installations apart where several are present.
function(_tcl_config_candidates result)
  set(folders "")
  foreach(version 8.6 8.7 8.5)
    foreach(lib "lib/${CMAKE_LIBRARY_ARCHITECTURE}" lib64 lib)
      foreach(prefix /usr /usr/local)
        list(APPEND folders "${prefix}/${lib}/tcl${version}")
      endforeach()
    endforeach()
  endforeach()
  list(APPEND folders /usr/lib64 /usr/lib /usr/local/lib64 /usr/local/lib)
  foreach(tclsh tclsh tclsh8.6 tclsh8.5)
    execute_process(
      COMMAND "${CMAKE_COMMAND}" -E echo
              "puts [::tcl::pkgconfig get libdir,runtime]"
      COMMAND "${tclsh}"
      OUTPUT_VARIABLE folder OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    if(folder)
      list(APPEND folders "${folder}")
    endif()
  endforeach()
  # A Tcl that is too new is worth naming in the message.
  list(APPEND folders "/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/tcl9.0"
       /usr/lib/tcl9.0)
  set(files "")
  foreach(folder IN LISTS folders)
    if(EXISTS "${folder}/tclConfig.sh")
      list(APPEND files "${folder}/tclConfig.sh")
    endif()
  endforeach()
  list(REMOVE_DUPLICATES files)
  set(${result} "${files}" PARENT_SCOPE)
endfunction()

# Accepts the installation that `origin` (a text for messages) describes when
# its version is served and all its files are there; else notes why not.
macro(_tcl_try origin version include_dirs source_dirs libraries)
  unset(_tcl_h CACHE)
  unset(_tcl_int_h CACHE)
  unset(_tcl_port_h CACHE)
  find_path(_tcl_h tcl.h PATHS ${include_dirs} NO_DEFAULT_PATH)
  find_path(_tcl_int_h tclInt.h NO_DEFAULT_PATH
            PATHS ${source_dirs} PATH_SUFFIXES generic)
  find_path(_tcl_port_h tclUnixPort.h NO_DEFAULT_PATH
            PATHS ${source_dirs} PATH_SUFFIXES unix)
  set(_tcl_version "${version}")
  if(NOT _tcl_version AND _tcl_h)
    file(STRINGS "${_tcl_h}/tcl.h" _tcl_version
         REGEX "^#[ \t]*define[ \t]+TCL_VERSION[ \t]")
    string(REGEX REPLACE ".*\"(.*)\".*" "\\1" _tcl_version "${_tcl_version}")
  endif()
  set(_tcl_stub_library "")
  foreach(_tcl_library ${libraries})
    if(EXISTS "${_tcl_library}" AND NOT _tcl_stub_library)
      set(_tcl_stub_library "${_tcl_library}")
    endif()
  endforeach()

  if(NOT _tcl_version)
    _tcl_reject("${origin}: gives no version of Tcl")
  elseif(_tcl_version VERSION_LESS 8.5)
    _tcl_reject("${origin}: Tcl ${_tcl_version} is too old")
  elseif(NOT _tcl_version VERSION_LESS 9)
    _tcl_reject("${origin}: Tcl ${_tcl_version} has other interfaces than 8.x")
  elseif(NOT _tcl_h)
    _tcl_reject("${origin}: tcl.h of Tcl ${_tcl_version} is missing")
  elseif(NOT _tcl_stub_library)
    _tcl_reject("${origin}: the stub library (libtclstub) is missing")
  elseif(NOT _tcl_int_h OR NOT _tcl_port_h)
    _tcl_reject("${origin}: Tcl's private headers (tclInt.h) are missing")
  else()
    set(TclStubs_FOUND TRUE)
    set(TclStubs_VERSION "${_tcl_version}")
    set(TclStubs_INCLUDE_DIR "${_tcl_h}")
    set(TclStubs_LIBRARY "${_tcl_stub_library}")
    set(TclStubs_PRIVATE_INCLUDE_DIRS "${_tcl_int_h}" "${_tcl_port_h}")
    set(_tcl_origin "${origin}")
  endif()
  unset(_tcl_h CACHE)
  unset(_tcl_int_h CACHE)
  unset(_tcl_port_h CACHE)
endmacro()

set(TclStubs_FOUND FALSE)
set(_tcl_hints "")
if(ZEL_TCL_CONFIG)
  get_filename_component(_tcl_files "${ZEL_TCL_CONFIG}" ABSOLUTE
                         BASE_DIR "${CMAKE_SOURCE_DIR}")
  if(IS_DIRECTORY "${_tcl_files}")
    string(APPEND _tcl_files "/tclConfig.sh")
  endif()
  if(NOT EXISTS "${_tcl_files}")
    _tcl_reject("${_tcl_files}: no such file (from ZEL_TCL_CONFIG)")
    set(_tcl_files "")
  endif()
else()
  _tcl_config_candidates(_tcl_files)
endif()

foreach(_tcl_file IN LISTS _tcl_files)
  if(NOT TclStubs_FOUND)
    foreach(_tcl_name VERSION INCLUDE_SPEC SRC_DIR PREFIX EXEC_PREFIX
                      STUB_LIB_PATH BUILD_STUB_LIB_PATH)
      _tcl_config_get("${_tcl_file}" TCL_${_tcl_name} _tcl_${_tcl_name})
    endforeach()
    string(REGEX REPLACE "^-I" "" _tcl_include "${_tcl_INCLUDE_SPEC}")
    # A Tcl that was built but not installed has its headers in its sources.
    _tcl_try("${_tcl_file}" "${_tcl_VERSION}"
             "${_tcl_include};${_tcl_PREFIX}/include;${_tcl_SRC_DIR}/generic"
             "${_tcl_SRC_DIR};${_tcl_include}/tcl-private;${_tcl_include}"
             "${_tcl_STUB_LIB_PATH};${_tcl_BUILD_STUB_LIB_PATH}")
    get_filename_component(_tcl_folder "${_tcl_file}" DIRECTORY)
    set(_tcl_hints "${_tcl_folder}" "${_tcl_EXEC_PREFIX}/bin")
  endif()
endforeach()

if(NOT TclStubs_FOUND AND NOT ZEL_TCL_CONFIG)
  set(TCL_FIND_QUIETLY TRUE)
  find_package(TCL QUIET MODULE)
  find_package(TclStub QUIET MODULE)
  if(TCL_INCLUDE_PATH AND TCL_STUB_LIBRARY)
    _tcl_try("CMake's FindTCL" "" "${TCL_INCLUDE_PATH}"
             "${TCL_INCLUDE_PATH}/tcl-private;${TCL_INCLUDE_PATH}"
             "${TCL_STUB_LIBRARY}")
  endif()
endif()

if(NOT TclStubs_FOUND)
  if(NOT _tcl_rejected)
    _tcl_reject("no tclConfig.sh in the usual folders")
  endif()
  message(FATAL_ERROR
    "No Tcl to build with: the development files of Tcl 8.5 or a later 8.x, "
    "private headers included, are needed. Tried:${_tcl_rejected}\n"
    "Install them (Debian, Ubuntu: apt-get install tcl8.6-dev) or name another "
    "installation: -DZEL_TCL_CONFIG=<tclConfig.sh or its folder>.")
endif()

message(STATUS "Tcl ${TclStubs_VERSION} by ${_tcl_origin}")
find_program(TCL_TCLSH NAMES tclsh${TclStubs_VERSION} tclsh NAMES_PER_DIR
             HINTS ${_tcl_hints} DOC "The tclsh that runs the script tests")
