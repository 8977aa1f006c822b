# find_package(orn32) gives the target orn32::orn32. Programs need bin/orn32.dll beside them or on the path.
get_filename_component(orn32_folder "${CMAKE_CURRENT_LIST_DIR}/../../.." ABSOLUTE)

add_library(orn32::orn32 SHARED IMPORTED)
if(MSVC)
    set(orn32_import_library "${orn32_folder}/lib/orn32.lib")
else()
    set(orn32_import_library "${orn32_folder}/lib/liborn32.dll.a")
endif()
set_target_properties(orn32::orn32 PROPERTIES IMPORTED_LOCATION "${orn32_folder}/bin/orn32.dll"
                      IMPORTED_IMPLIB "${orn32_import_library}"
                      INTERFACE_INCLUDE_DIRECTORIES "${orn32_folder}/include")
unset(orn32_import_library)
unset(orn32_folder)
