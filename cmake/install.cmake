# What `cmake --install` leaves: the folders of the package, as far as they come from the build.
include(CMakePackageConfigHelpers)

# Microsoft's linker wants an import library of its own; where the tool is missing, there is none.
find_program(LLVM_DLLTOOL NAMES llvm-dlltool NO_CMAKE_FIND_ROOT_PATH)
if(LLVM_DLLTOOL)
    add_custom_command(OUTPUT ${CMAKE_BINARY_DIR}/orn32.lib VERBATIM
                       COMMAND ${LLVM_DLLTOOL} -m i386 -k -d ${decorated_def} -D orn32.dll -l orn32.lib
                       WORKING_DIRECTORY ${CMAKE_BINARY_DIR} DEPENDS ${decorated_def})
    add_custom_target(microsoft_import_library ALL DEPENDS ${CMAKE_BINARY_DIR}/orn32.lib)
endif()

configure_file(cmake/orn32.pc.in ${CMAKE_BINARY_DIR}/orn32.pc @ONLY)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/orn32ConfigVersion.cmake COMPATIBILITY SameMajorVersion)

install(PROGRAMS $<TARGET_FILE:orn32> $<TARGET_FILE:ornconvert> $<TARGET_FILE:ornview> DESTINATION bin)
install(FILES include/orn32.h DESTINATION include)
install(FILES ${CMAKE_BINARY_DIR}/liborn32.dll.a DESTINATION lib)
install(FILES ${decorated_def} DESTINATION lib RENAME orn32.def) # for import libraries of other linkers
install(FILES ${CMAKE_BINARY_DIR}/orn32.lib DESTINATION lib OPTIONAL)
install(FILES ${CMAKE_BINARY_DIR}/orn32.pc DESTINATION lib/pkgconfig)
install(FILES cmake/orn32Config.cmake ${CMAKE_BINARY_DIR}/orn32ConfigVersion.cmake DESTINATION lib/cmake/orn32)
