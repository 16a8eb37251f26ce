# velmar_add_plugin(NAME sources...)
# A plug-in library for the client: lib<NAME>.so with Qt's moc run over its sources, linked with the
# exported class and the platform. For this tree's own example and, by way of find_package(Velmar),
# for the plug-ins of other authors.
function(velmar_add_plugin name)
    if(NOT ARGN)
        message(FATAL_ERROR "velmar_add_plugin(${name}): no sources")
    endif()
    add_library(${name} MODULE ${ARGN})
    target_compile_features(${name} PRIVATE cxx_std_17)
    target_link_libraries(${name} PRIVATE Velmar::BusinessData Velmar::Platform)
    # A class of the same name in another plug-in must not take this one's place.
    set_target_properties(${name} PROPERTIES AUTOMOC ON CXX_VISIBILITY_PRESET hidden
                                             VISIBILITY_INLINES_HIDDEN ON)
endfunction()
