cd /tmp/wt/ci
(time CCACHE_DISABLE=1 ninja -k0 -C build/release -j2 inlif_tools) > /tmp/unity.log 2>&1
