"""What the server must publish for a configuration, worked out without the server's code."""
