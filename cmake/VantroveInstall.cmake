# What `cmake --install` puts in place, and the Debian package CPack makes of it:
#   library  the shared libraries, public headers, the CMake package
#            (find_package(Vantrove): Vantrove::vantrove, Vantrove::engine)
#            and pkg-config files (vantrove, vantrove-engine)
#   tool     the vantrove command, its man page and bash completion
#   python   the Python module, for Debian's python3
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set_target_properties(vantrove-engine PROPERTIES EXPORT_NAME engine)
set_target_properties(vantrove PROPERTIES EXPORT_NAME vantrove)

# Installed binaries find the libraries relative to themselves, so that any
# prefix works (/usr/local from the set-up, /usr from the package, a test's
# temporary folder).
set_target_properties(vantrove-cli PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
# The library finds the engine beside it (a run path is not inherited by the
# libraries a program loads).
set_target_properties(vantrove PROPERTIES INSTALL_RPATH "$ORIGIN")

install(TARGETS vantrove vantrove-engine EXPORT VantroveTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${CMAKE_SOURCE_DIR}/include/vantrove ${CMAKE_SOURCE_DIR}/engine/include/vantrove
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT library FILES_MATCHING PATTERN "*.hpp")

set(VANTROVE_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Vantrove)
install(EXPORT VantroveTargets NAMESPACE Vantrove:: DESTINATION ${VANTROVE_CMAKE_DIR} COMPONENT library)
configure_package_config_file(${CMAKE_SOURCE_DIR}/cmake/VantroveConfig.cmake.in
                              ${CMAKE_BINARY_DIR}/cmake/VantroveConfig.cmake INSTALL_DESTINATION ${VANTROVE_CMAKE_DIR})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/cmake/VantroveConfigVersion.cmake
                                 VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/cmake/VantroveConfig.cmake ${CMAKE_BINARY_DIR}/cmake/VantroveConfigVersion.cmake
        DESTINATION ${VANTROVE_CMAKE_DIR} COMPONENT library)

# pkg-config files that find their prefix from where they lie.
set(VANTROVE_PC_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH VANTROVE_PC_TO_PREFIX /root/${VANTROVE_PC_DIR} /root)
string(REGEX REPLACE "/$" "" VANTROVE_PC_TO_PREFIX "${VANTROVE_PC_TO_PREFIX}")
foreach(_pc vantrove vantrove-engine)
  configure_file(${CMAKE_SOURCE_DIR}/cmake/${_pc}.pc.in ${CMAKE_BINARY_DIR}/cmake/${_pc}.pc @ONLY)
  install(FILES ${CMAKE_BINARY_DIR}/cmake/${_pc}.pc DESTINATION ${VANTROVE_PC_DIR} COMPONENT library)
endforeach()

install(TARGETS vantrove-cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)

# The man page and the bash completion, made from the tool's own --help text.
find_package(Python3 COMPONENTS Interpreter QUIET)
if(Python3_Interpreter_FOUND)
  set(VANTROVE_DOC_DIR ${CMAKE_BINARY_DIR}/share)
  add_custom_command(
    OUTPUT ${VANTROVE_DOC_DIR}/vantrove.1 ${VANTROVE_DOC_DIR}/vantrove.bash
    COMMAND ${CMAKE_COMMAND} -E make_directory ${VANTROVE_DOC_DIR}
    COMMAND ${Python3_EXECUTABLE} ${CMAKE_SOURCE_DIR}/cli/doc/make_docs.py $<TARGET_FILE:vantrove-cli>
            --man ${VANTROVE_DOC_DIR}/vantrove.1 --completion ${VANTROVE_DOC_DIR}/vantrove.bash
    DEPENDS vantrove-cli ${CMAKE_SOURCE_DIR}/cli/doc/make_docs.py
    COMMENT "Making the man page and bash completion of vantrove from its --help")
  add_custom_target(vantrove-docs ALL DEPENDS ${VANTROVE_DOC_DIR}/vantrove.1 ${VANTROVE_DOC_DIR}/vantrove.bash)
  install(FILES ${VANTROVE_DOC_DIR}/vantrove.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool)
  install(FILES ${VANTROVE_DOC_DIR}/vantrove.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
          RENAME vantrove COMPONENT tool)
endif()

if(TARGET vantrove-python)
  # Where the Python package goes, relative to the prefix: on the path of
  # Debian's python3 both under /usr and under /usr/local.
  if(NOT VANTROVE_PYTHON_INSTALL_DIR)
    set(VANTROVE_PYTHON_INSTALL_DIR "lib/python3.${VANTROVE_PYTHON_VERSION_MINOR}/dist-packages")
  endif()
  file(RELATIVE_PATH _py_to_lib /root/${VANTROVE_PYTHON_INSTALL_DIR}/vantrove /root/${CMAKE_INSTALL_LIBDIR})
  set_target_properties(vantrove-python PROPERTIES INSTALL_RPATH "$ORIGIN/${_py_to_lib}")
  install(TARGETS vantrove-python LIBRARY DESTINATION ${VANTROVE_PYTHON_INSTALL_DIR}/vantrove COMPONENT python)
  install(DIRECTORY ${CMAKE_SOURCE_DIR}/python/vantrove/ DESTINATION ${VANTROVE_PYTHON_INSTALL_DIR}/vantrove
          COMPONENT python FILES_MATCHING PATTERN "*.py" PATTERN "__pycache__" EXCLUDE)
endif()

if(VANTROVE_TESTS AND NOT VANTROVE_SANITIZE)
  # An outside project built against an installed tree, with CMake and with
  # pkg-config; the man page and completion against the tool's help. (A
  # sanitized tree is not for installing: outside programs would need the
  # sanitizer runtime.)
  add_test(NAME package_outside_project
           COMMAND ${CMAKE_SOURCE_DIR}/tests/package/outside-project.sh ${CMAKE_BINARY_DIR} ${CMAKE_SOURCE_DIR})
  set_tests_properties(package_outside_project PROPERTIES TIMEOUT 600 RUN_SERIAL ON)
  if(Python3_Interpreter_FOUND)
    add_test(NAME package_docs COMMAND ${Python3_EXECUTABLE} ${CMAKE_SOURCE_DIR}/tests/package/docs_test.py
                                       $<TARGET_FILE:vantrove-cli> ${VANTROVE_DOC_DIR})
  endif()
endif()

# The Debian package: library, tool and Python module in one.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vantrove)
set(CPACK_PACKAGE_VENDOR "Vantrove")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "AutoCAD drawings (DWG, DXF) and tabular data: library, tool and Python module")
set(CPACK_PACKAGE_DESCRIPTION
    "The clsVantrove automation class (C++20 library with its drawing engine), the vantrove command-line tool, and the Python module vantrove.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "Vantrove developers <vantrove@localhost>")
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR}/lib)
if(TARGET vantrove-python)
  # The extension is built for one Python minor version.
  math(EXPR _next_minor "${VANTROVE_PYTHON_VERSION_MINOR} + 1")
  set(CPACK_DEBIAN_PACKAGE_DEPENDS "python3 (>= 3.${VANTROVE_PYTHON_VERSION_MINOR}), python3 (<< 3.${_next_minor})")
  set(CPACK_DEBIAN_PACKAGE_SUGGESTS "python3-numpy, python3-dask, python3-distributed")
endif()
set(CPACK_OUTPUT_FILE_PREFIX ${CMAKE_BINARY_DIR}/packages)
include(CPack)
