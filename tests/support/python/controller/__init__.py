"""The controller as seen by another of its processes: keys, segments and records by byte offset.

Nothing here uses the project's libraries, so that a wrong key, offset or size in them is detected.
"""
