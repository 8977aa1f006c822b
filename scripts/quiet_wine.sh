# shellcheck shell=bash
# Wine's own messages would stand among those of our programs; who has set WINEDEBUG wants to see them. Sourced by all
# scripts that run Wine.
export WINEDEBUG=${WINEDEBUG--all}
