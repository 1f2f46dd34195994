// The application description that the manager fills and every source copies.
#pragma once

#include <string>

struct CAppInfo {
    std::u16string appName;
    std::u16string appName2;
    std::u16string appPath;
    std::u16string appPath2;
    std::u16string sourceName;
};
