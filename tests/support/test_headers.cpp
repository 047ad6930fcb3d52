// Nothing: the headers that are read once for all tests need a source that they belong to.
