# Read by cpack for each kind of package: the one for Debian has a layout of its
# own, which is the component `debian` of the installation.
if(CPACK_GENERATOR STREQUAL "DEB")
  if(NOT CPACK_DEBIAN_PACKAGE_NAME)
    message(FATAL_ERROR "No Debian package: when the build was configured, "
                        "dpkg-shlibdeps was missing (package dpkg-dev)")
  endif()
  string(REPLACE ";ALL;" ";debian;" CPACK_INSTALL_CMAKE_PROJECTS
         "${CPACK_INSTALL_CMAKE_PROJECTS}")
endif()
