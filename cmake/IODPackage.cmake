# IODPackage.cmake: install rules for the package files, included by the top
# level after every subdirectory has been added.
#   <prefix>/lib/cmake/IOD/IODConfig.cmake, IODConfigVersion.cmake, IODTargets*.cmake
#   <prefix>/lib/pkgconfig/iod.pc
include_guard(GLOBAL)
include(CMakePackageConfigHelpers)

set(IOD_CMAKE_INSTALL_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/IOD")

install(EXPORT IODTargets
    NAMESPACE IOD::
    FILE IODTargets.cmake
    DESTINATION "${IOD_CMAKE_INSTALL_DIR}")

configure_package_config_file(
    "${CMAKE_CURRENT_LIST_DIR}/IODConfig.cmake.in"
    "${PROJECT_BINARY_DIR}/package/IODConfig.cmake"
    INSTALL_DESTINATION "${IOD_CMAKE_INSTALL_DIR}")
write_basic_package_version_file(
    "${PROJECT_BINARY_DIR}/package/IODConfigVersion.cmake"
    VERSION ${PROJECT_VERSION}
    COMPATIBILITY SameMinorVersion)
install(FILES
    "${PROJECT_BINARY_DIR}/package/IODConfig.cmake"
    "${PROJECT_BINARY_DIR}/package/IODConfigVersion.cmake"
    DESTINATION "${IOD_CMAKE_INSTALL_DIR}")

# pkg-config: one module "iod" that links the IOD library and everything it
# exposes, in link order. The file is relocatable (prefix from ${pcfiledir}).
set(IOD_PC_LIBS "")
foreach(_lib iod dicom iod_collection iod_logging iod_utility iod_threadtools)
    if(TARGET ${_lib})
        get_target_property(_out ${_lib} OUTPUT_NAME)
        if(NOT _out)
            set(_out ${_lib})
        endif()
        string(APPEND IOD_PC_LIBS " -l${_out}")
    endif()
endforeach()
set(IOD_PC_REQUIRES_PRIVATE_LINE "")
if(TARGET dicom)
    set(IOD_PC_REQUIRES_PRIVATE_LINE "Requires.private: zlib libcrypto")
endif()
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    set(IOD_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
    set(IOD_PC_LIBDIR "${CMAKE_INSTALL_LIBDIR}")
else()
    file(RELATIVE_PATH _up "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
    string(REGEX REPLACE "/$" "" _up "${_up}")
    set(IOD_PC_PREFIX "\${pcfiledir}/${_up}")
    set(IOD_PC_LIBDIR "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
endif()
if(IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
    set(IOD_PC_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}")
else()
    set(IOD_PC_INCLUDEDIR "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
endif()
configure_file("${CMAKE_CURRENT_LIST_DIR}/iod.pc.in" "${PROJECT_BINARY_DIR}/package/iod.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/package/iod.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
