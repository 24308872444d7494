// Keeps a library target valid while its layer has no sources yet.
