# Only versions with the same minor number promise the same interface.
find_package(norvik_sdk 1.8 REQUIRED CONFIG)
