"""The measurement behind bench/run; docs/performance.md describes how it works and how to read it."""
