"""The controller as another of its processes sees it: keys, segments and records by byte offset.

Nothing here uses the project's libraries, so a wrong key, offset or size in them shows.
"""
