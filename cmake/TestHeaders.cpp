// Nothing: a library that precompiles headers needs one source.
