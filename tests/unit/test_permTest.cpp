// Unit tests of the functional and phylogenetic correlation test.
#include <gtest/gtest.h>

#include "permutation/permTest.h"
