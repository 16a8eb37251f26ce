# The package that find_package(Velmar) finds in a build folder, so that a plug-in can be built
# anywhere against this tree: three targets and velmar_add_plugin(). Nothing is installed.
include(CMakePackageConfigHelpers)

set_target_properties(velmar_sdk PROPERTIES EXPORT_NAME Sdk)
set_target_properties(velmar_platform PROPERTIES EXPORT_NAME Platform)
set_target_properties(VelmarBusinessDataManager PROPERTIES EXPORT_NAME BusinessData)
export(TARGETS velmar_sdk velmar_platform VelmarBusinessDataManager velmar_records platform_headers
       NAMESPACE Velmar:: FILE ${CMAKE_BINARY_DIR}/cmake/VelmarTargets.cmake)

set(VELMAR_PLUGIN_FUNCTION ${CMAKE_CURRENT_LIST_DIR}/velmar_plugin.cmake)
configure_file(${CMAKE_CURRENT_LIST_DIR}/VelmarConfig.cmake.in
               ${CMAKE_BINARY_DIR}/cmake/VelmarConfig.cmake @ONLY)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/cmake/VelmarConfigVersion.cmake
                                 VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)

# The names of the package, for the example inside the tree.
add_library(Velmar::Platform ALIAS velmar_platform)
add_library(Velmar::BusinessData ALIAS VelmarBusinessDataManager)
include(${VELMAR_PLUGIN_FUNCTION})
