// The shared library's own translation unit. Everything else comes from the static core; there is
// no load hook, since no run-time support has to be started before the first call.
