# What every one of our own sources is compiled and linked with.
add_library(orn32_flags INTERFACE)

# Callers keep the stack aligned to 4 bytes only, so every entry realigns it before SSE code spills.
target_compile_options(orn32_flags INTERFACE -msse2 -mfpmath=sse -mstackrealign
                       -Wall -Wextra -Wconversion -Wshadow -Werror)
target_compile_options(orn32_flags INTERFACE
                       $<$<COMPILE_LANGUAGE:CXX>:-fno-rtti -fno-strict-aliasing -Wold-style-cast>)
target_compile_options(orn32_flags INTERFACE
                       $<$<CONFIG:Debug>:-O1 -fsanitize=undefined -fsanitize-undefined-trap-on-error>)
# gcc 12 packs scalars into vectors by way of the stack, which is slower than leaving them; and loops gain or lose
# up to half their speed by where they happen to lie, unless functions begin with a line of the cache.
target_compile_options(orn32_flags INTERFACE $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-fno-tree-slp-vectorize>
                       $<$<AND:$<CONFIG:Release>,$<COMPILE_LANG_AND_ID:CXX,GNU>>:-falign-functions=64;-falign-loops=32:16>)
# clang counts signedness among the conversions, gcc does not.
target_compile_options(orn32_flags INTERFACE $<$<COMPILE_LANG_AND_ID:CXX,Clang>:-Wno-sign-conversion>)
target_compile_definitions(orn32_flags INTERFACE UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX WINVER=0x0501
                           _WIN32_WINNT=0x0501)
# Without the time of linking, the same sources give the same bytes.
target_link_options(orn32_flags INTERFACE -static -Wl,--no-insert-timestamp $<$<CONFIG:Release>:-s>)
# The maps tell which libraries' code is inside, whose licences the package has to name.
target_link_options(orn32_flags INTERFACE -Wl,-Map=${CMAKE_BINARY_DIR}/$<TARGET_PROPERTY:NAME>.map)
