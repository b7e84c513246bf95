// No include guard: the first line of each source file of the camera object.
//
// An empty component handle must end the process in every build type. Boost's smart pointers check it
// with `assert`, which vanishes under NDEBUG, so it is taken back before their headers are read.
#undef NDEBUG
