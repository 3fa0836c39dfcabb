// Carrier for the shared precompiled header.
