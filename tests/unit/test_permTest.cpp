// Unit tests of the functional and phylogenetic correlation test.
#include <gtest/gtest.h>

#include "permutation/permTest.h"

TEST(PermTestTranslate, MapsOptionsToResemblanceCodes) {
  const int expected[12] = {1, 0, 0, 1, 0, 17, 3, 0, 2, 0, 18, 1};
  for (int option = 0; option <= 11; option++)
    EXPECT_EQ(expected[option], TranslateReseOpt_KOLVEN_DARVOL(option)) << "option " << option;
  EXPECT_EQ(1, TranslateReseOpt_KOLVEN_DARVOL(-3));
}
