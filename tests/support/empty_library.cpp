// A library that holds resources only.
