# [commands]
cmake -G Ninja -S . -B build
cmake --build build
build/first
# [commands]
