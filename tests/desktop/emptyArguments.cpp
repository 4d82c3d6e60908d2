// Runs a program that gets no words at all, not even its own name.
//
// usage: empty-arguments PROGRAM

#include <cstdio>
#include <unistd.h>

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  char* const none[] = {nullptr};
  execv(argv[1], none);
  perror(argv[1]);
  return 1;
}
