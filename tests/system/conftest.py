"""What pytest finds here: the fixture and the check of every system test."""

from machine import SMALL_DISK, Site, fill_small_disk, pytest_sessionstart, site

__all__ = ["SMALL_DISK", "Site", "fill_small_disk", "pytest_sessionstart", "site"]
