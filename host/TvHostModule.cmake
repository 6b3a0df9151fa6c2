# tvhost_add_module(NAME source...): a module NAME.krx that the Host loads with its dynamic
# linker. It sees the SDK headers and links nothing of the Host: the Host's functions come from
# the program that loads it. Only the entry point and the functions the module exports with
# TVHOST_API stay visible.
function(tvhost_add_module name)
    add_library(${name} MODULE ${ARGN})
    target_link_libraries(${name} PRIVATE TvHost::sdk)
    target_compile_features(${name} PRIVATE cxx_std_20)
    set_target_properties(${name} PROPERTIES PREFIX "" SUFFIX ".krx"
        CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
endfunction()
