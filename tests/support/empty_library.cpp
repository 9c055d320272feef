// A library that holds resources only, or nothing.
