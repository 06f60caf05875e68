"""What a simulated controller of the usual size contains."""

# For opcuacheck: the numbers of variables, and which of the manual inputs are texts and switches.
DATABASE = (
    *("--counts", "va=80,av=12,rv=24,vd=60,dv=24"),
    *("--rvs", "5,10,15,23-24", "--rvl", "4,9,14,21-22"),
)
