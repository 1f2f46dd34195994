// The upper-to-lower case pairs used by ptucslowerCase: sorted strictly
// ascending by the upper-case unit and closed by a {0, 0} pair.
#pragma once

extern const unsigned short gUcsUpperToLowerCase[][2];
extern const int gUcsUpperToLowerCaseCount;
