# zlib as it is linked into the DLL: its code aligned to cache lines like ours (flags.cmake); otherwise PNG files load a little
# slower, or not, by where it happens to lie.
set(ZLIB_USE_STATIC_LIBS ON)
find_package(ZLIB REQUIRED)
add_library(orn32_zlib INTERFACE)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    set(aligned_zlib ${CMAKE_BINARY_DIR}/zlib/libz.a)
    file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/zlib)
    add_custom_command(OUTPUT ${aligned_zlib} DEPENDS ${ZLIB_LIBRARIES} VERBATIM
                       COMMAND ${CMAKE_OBJCOPY} --set-section-alignment .text=64 ${ZLIB_LIBRARIES} ${aligned_zlib})
    add_custom_target(orn32_aligned_zlib DEPENDS ${aligned_zlib})
    add_dependencies(orn32_zlib orn32_aligned_zlib)
    target_link_libraries(orn32_zlib INTERFACE -L${CMAKE_BINARY_DIR}/zlib -lz)
    target_include_directories(orn32_zlib INTERFACE ${ZLIB_INCLUDE_DIRS})
else()
    target_link_libraries(orn32_zlib INTERFACE ZLIB::ZLIB)
endif()
