// The shared library is made of the RPC core and the stubs; this unit only anchors the target.
