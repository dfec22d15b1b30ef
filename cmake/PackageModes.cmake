# Run by cpack on what goes into a package: everybody may read it, whatever the
# umask of the one who makes the package.
execute_process(COMMAND chmod -R u=rwX,go=rX
                        "${CPACK_TEMPORARY_INSTALL_DIRECTORY}"
                RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "The modes of the files could not be set")
endif()
