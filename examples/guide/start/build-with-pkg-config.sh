# [commands]
g++ -std=c++17 -o first kelFirst.cpp $(pkg-config --cflags --libs kelinfra)
./first
# [commands]
