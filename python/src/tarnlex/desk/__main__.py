"""`python -m tarnlex.desk` is `tarnlex-desk`."""

import sys

from tarnlex.desk.main import main

sys.exit(main())
