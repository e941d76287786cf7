# The network pass against the library's own dgemm only: no peer library.
