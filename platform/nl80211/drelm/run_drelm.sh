#!/bin/sh
# Starts drelm from beside this script, or else from the search path.
here=$(dirname "$0")
if [ -x "$here/drelm" ]; then
    exec "$here/drelm"
fi
exec drelm
