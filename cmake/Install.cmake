# What `cmake --install` and `cpack` put where.
#
# Tcl's `package require` looks in the folders of its variable auto_path, and
# one level below. The package is a folder of its own there: by default in one
# of those that the tclsh found has below the prefix of the installation.

set(ZEL_INSTALL_LIBDIR "" CACHE STRING
    "Where the package's folder goes (empty: a folder of Tcl's auto_path)")
set(ZEL_INSTALL_MANDIR share/man CACHE STRING
    "Where the manual pages go, in a folder mann")
set(ZEL_INSTALL_DOCDIR share/doc/zeltclobject CACHE STRING
    "Where the licence and the tutorial go")
set(contact "zeltclobject authors <authors@zeltclobject.invalid>")
if(DEFINED ENV{DEBFULLNAME} AND DEFINED ENV{DEBEMAIL})
  set(contact "$ENV{DEBFULLNAME} <$ENV{DEBEMAIL}>")
endif()
set(ZEL_PACKAGE_CONTACT "${contact}" CACHE STRING
    "Who answers for the Debian package: NAME <ADDRESS>")

# ---------------------------------------------------------- Where Tcl looks

set(tcl_auto_path "")
if(TCL_TCLSH)
  execute_process(
    COMMAND "${CMAKE_COMMAND}" -E echo
            "puts [join [linsert $auto_path 0 [info library]] {;}]"
    COMMAND "${CMAKE_COMMAND}" -E env --unset=TCLLIBPATH "${TCL_TCLSH}"
    OUTPUT_VARIABLE tcl_auto_path OUTPUT_STRIP_TRAILING_WHITESPACE)
  # The folder of Tcl's own scripts is in auto_path, too, but not for others.
  list(GET tcl_auto_path 0 tcl_library)
  list(REMOVE_ITEM tcl_auto_path "${tcl_library}")
endif()

# Sets `result` to the folder, relative to the prefix, for packages with a
# library: the one for this architecture, else the first for libraries, else the
# first of all. Where Tcl has none, it is lib, and Tcl must be told.
function(zel_tcl_libdir prefix result)
  foreach(pattern "^lib.*/${CMAKE_LIBRARY_ARCHITECTURE}$" "^lib" ".")
    foreach(folder IN LISTS tcl_auto_path)
      file(RELATIVE_PATH inside "${prefix}" "${folder}")
      # /usr/local is below /usr, but is a prefix of its own.
      if(inside MATCHES "${pattern}" AND
         NOT inside MATCHES "^(\\.\\.|local)(/|$)")
        set(${result} "${inside}" PARENT_SCOPE)
        return()
      endif()
    endforeach()
  endforeach()
  set(${result} lib PARENT_SCOPE)
endfunction()

# ------------------------------------------------------------------- Manual

find_program(ZEL_DTPLITE dtplite DOC "Tcllib's tool that makes manual pages")
set(manual "")
if(ZEL_DTPLITE)
  set(VERSION "${PROJECT_VERSION}")
  set(sources "${PROJECT_BINARY_DIR}/manual")
  file(GLOB included CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/doc/*.inc")
  file(COPY ${included} DESTINATION "${sources}")
  file(GLOB pages CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/doc/*.man")
  foreach(page IN LISTS pages)
    get_filename_component(name "${page}" NAME_WE)
    configure_file("${page}" "${sources}/${name}.man" @ONLY)
    add_custom_command(
      OUTPUT "${sources}/${name}.n"
      COMMAND "${ZEL_DTPLITE}" -o "${name}.n" nroff "${name}.man"
      WORKING_DIRECTORY "${sources}"
      DEPENDS "${sources}/${name}.man" ${included}
      COMMENT "Making the manual page ${name}" VERBATIM)
    list(APPEND manual "${sources}/${name}.n")
  endforeach()
else()
  message(STATUS "No dtplite: the manual pages are left out "
                 "(Debian: apt-get install tcllib)")
endif()

# ------------------------------------------------------------------ Install

set(library
    "${CMAKE_SHARED_MODULE_PREFIX}zeltclobject${CMAKE_SHARED_MODULE_SUFFIX}")
configure_file("${PROJECT_SOURCE_DIR}/cmake/pkgIndex.tcl.in"
               "${PROJECT_BINARY_DIR}/pkgIndex.tcl" @ONLY)

# zel_install(<libdir> <docdir> <option> ...): installs what every layout has.
# The options are those of install().
function(zel_install libdir docdir)
  set(folder "${libdir}/zeltclobject${PROJECT_VERSION}")
  set(doc "${PROJECT_SOURCE_DIR}/doc")
  install(TARGETS zeltclobject LIBRARY DESTINATION "${folder}" ${ARGN})
  install(FILES "${PROJECT_BINARY_DIR}/pkgIndex.tcl"
          DESTINATION "${folder}" ${ARGN})
  install(FILES "${doc}/tutorial.md" "${doc}/peers.md" "${doc}/limits.md"
          DESTINATION "${docdir}" ${ARGN})
endfunction()

set(libdir "${ZEL_INSTALL_LIBDIR}")
if(NOT libdir)
  zel_tcl_libdir("${CMAKE_INSTALL_PREFIX}" libdir)
endif()
zel_install("${libdir}" "${ZEL_INSTALL_DOCDIR}" COMPONENT plain)
install(FILES ${manual} DESTINATION "${ZEL_INSTALL_MANDIR}/mann"
        COMPONENT plain)
install(FILES "${PROJECT_SOURCE_DIR}/LICENSE"
        DESTINATION "${ZEL_INSTALL_DOCDIR}" COMPONENT plain)

# `cmake --install` may be given another prefix: what is where, and whether Tcl
# finds it, is known only then.
install(CODE "
  get_filename_component(libdir \"${libdir}\" ABSOLUTE
                         BASE_DIR \"\${CMAKE_INSTALL_PREFIX}\")
  get_filename_component(mandir \"${ZEL_INSTALL_MANDIR}\" ABSOLUTE
                         BASE_DIR \"\${CMAKE_INSTALL_PREFIX}\")
  message(STATUS \"Package: \${libdir}/zeltclobject${PROJECT_VERSION}\")
  message(STATUS \"Manual:  \${mandir}/mann\")
  set(auto_path \"${tcl_auto_path}\")
  list(FIND auto_path \"\${libdir}\" place)
  if(place EQUAL -1)
    message(STATUS \"Tcl does not look there by itself, but after\\n\"
                   \"   export TCLLIBPATH='{\${libdir}}'\")
  endif()"
  COMPONENT plain)

# ----------------------------------------------------------------- Packages

set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PACKAGE_CONTACT "${ZEL_PACKAGE_CONTACT}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "classes, objects and methods for Tcl")
set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
set(CPACK_SYSTEM_NAME "${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR}")
set(CPACK_STRIP_FILES ON)
set(CPACK_PROJECT_CONFIG_FILE "${PROJECT_SOURCE_DIR}/cmake/PackageLayout.cmake")
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/PackageModes.cmake")
set(CPACK_SOURCE_GENERATOR TGZ)
set(CPACK_SOURCE_IGNORE_FILES "/\\.git/" "^${PROJECT_SOURCE_DIR}/build/")
set(CPACK_GENERATOR TGZ)

find_program(ZEL_DPKG_SHLIBDEPS dpkg-shlibdeps
             DOC "Finds out what a Debian package depends on")
if(ZEL_DPKG_SHLIBDEPS)
  list(APPEND CPACK_GENERATOR DEB)
  set(CPACK_DEBIAN_PACKAGE_NAME tcl-zeltclobject)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SECTION interpreters)
  set(CPACK_DEBIAN_PACKAGE_DEPENDS
      "libtcl${TclStubs_VERSION} (>= ${TclStubs_VERSION}.0)")
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)  # adds that on libc
  set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"A library that gives Tcl scripts classes, objects, methods and multiple
inheritance. Classes and objects are plain Tcl commands, attributes are
elements of plain Tcl arrays, and everything can be defined, redefined,
renamed, deleted and looked at while the program runs.")

  # Debian compresses the changelog and the manual pages, and has those of Tcl
  # packages in section 3tcl.
  set(debian "${PROJECT_BINARY_DIR}/debian")
  string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
  configure_file("${PROJECT_SOURCE_DIR}/cmake/changelog.in"
                 "${debian}/changelog" @ONLY)
  set(compressed "")
  foreach(file IN LISTS manual ITEMS "${debian}/changelog")
    get_filename_component(name "${file}" NAME)
    string(REGEX REPLACE "\\.n$" ".3tcl" name "${debian}/${name}")
    add_custom_command(
      OUTPUT "${name}.gz"
      COMMAND sh -c "sed \"$1\" \"$2\" | gzip -9n > \"$3\"" sh
              "s/^\\(\\.TH \"[^\"]*\"\\) n /\\1 3tcl /" "${file}" "${name}.gz"
      DEPENDS "${file}" VERBATIM)
    list(APPEND compressed "${name}.gz")
  endforeach()
  set(debian_manual "${compressed}")
  list(FILTER debian_manual INCLUDE REGEX "\\.3tcl\\.gz$")

  set(docdir "share/doc/${CPACK_DEBIAN_PACKAGE_NAME}")
  zel_tcl_libdir(/usr libdir)
  zel_install("${libdir}" "${docdir}" COMPONENT debian EXCLUDE_FROM_ALL)
  install(FILES ${debian_manual} DESTINATION share/man/man3
          COMPONENT debian EXCLUDE_FROM_ALL)
  install(FILES "${debian}/changelog.gz" DESTINATION "${docdir}"
          COMPONENT debian EXCLUDE_FROM_ALL)
  install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION "${docdir}"
          RENAME copyright COMPONENT debian EXCLUDE_FROM_ALL)
endif()

add_custom_target(documents ALL DEPENDS ${manual} ${compressed})

include(CPack)
