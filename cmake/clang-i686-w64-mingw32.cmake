# The same target through clang, with mingw-w64's headers, runtime and linker.
include(${CMAKE_CURRENT_LIST_DIR}/i686-w64-mingw32.cmake)
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET i686-w64-windows-gnu)
set(CMAKE_CXX_COMPILER_TARGET i686-w64-windows-gnu)

# Debian keeps the two thread flavours side by side; clang must be told which one to take.
execute_process(COMMAND i686-w64-mingw32-g++-posix -print-libgcc-file-name
                OUTPUT_VARIABLE gcc_library OUTPUT_STRIP_TRAILING_WHITESPACE)
get_filename_component(gcc_folder ${gcc_library} DIRECTORY)
set(CMAKE_CXX_STANDARD_INCLUDE_DIRECTORIES
    ${gcc_folder}/include/c++ ${gcc_folder}/include/c++/i686-w64-mingw32 ${gcc_folder}/include/c++/backward)
# clang takes mingw-w64's start files, which do not register exception frames; gcc's own ones, around everything
# else, do. Without them the first throw ends the program.
set(CMAKE_EXE_LINKER_FLAGS_INIT
    "-fuse-ld=/usr/bin/i686-w64-mingw32-ld -L${gcc_folder} ${gcc_folder}/crtbegin.o")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${CMAKE_EXE_LINKER_FLAGS_INIT}")
# gcc's own driver adds the thread library that its C++ runtime needs; clang's does not.
set(CMAKE_CXX_STANDARD_LIBRARIES "-Wl,--start-group -lstdc++ -lgcc_eh -lgcc -lpthread -lmingw32 -lmingwex -lmsvcrt -lkernel32 -Wl,--end-group -luser32 -lgdi32 -lversion -ladvapi32 -lshell32 ${gcc_folder}/crtend.o"
    CACHE STRING "Libraries of every program")
