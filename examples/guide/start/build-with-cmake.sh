# [commands]
cmake -S . -B build
cmake --build build
build/first
# [commands]
