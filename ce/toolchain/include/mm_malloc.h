/* The desktop's malloc.h asks for it; there are no vector registers to align memory for. */
