"""The rows of the table, with the required and target value of each."""

from agent_tables import overlapping_agents, separate_agents
from workloads import Scope, Workload, find, find_and_read, find_pairs, read_all, read_one, rewrite, write

PLAN = "skill_dir_plan(agents)"
INSTALL = "install_skills('project', project, agents=agents)"
INSTALL_FRESH = "install_skills('project', next(projects), agents=agents)"
INSTALL_FORCED = "install_skills('project', project, agents=agents, force=True)"
DRY_RUN = "install_skills('project', project, agents=agents, dry_run=True)"
STATUS = "skill_status(project, agents=agents)"
STAMP = "_installed_version(copy)"
SHADOWED = "shadowed_skills(project, agents=agents)"

OWN: tuple[Scope, ...] = ("project",)
BOTH: tuple[Scope, ...] = ("user", "project")
MANY = 100  # calls, for workloads with few instructions

IMPORT = Workload("import, own share", "", 1.0, 0.95)
PLANNING = [
    Workload("plan, four-agent table", PLAN, 0.08, 0.05, plans=True, counted=MANY),
    Workload("plan, 50 agents over 9 directories", PLAN, 0.03, 0.015, overlapping_agents(50, 9), plans=True),
    Workload("plan, 12 candidates, 12 agents", PLAN, 0.005, 0.002, overlapping_agents(12, 12), plans=True),
    Workload("plan, greedy, 400 agents over 200", PLAN, 0.05, 0.03, overlapping_agents(400, 200), plans=True),
]
VALUES = [
    Workload("version key", "_version_tuple(version)", 0.1, 0.05, counted=MANY),
    Workload("render", "render_skill_md()", 0.08, 0.05, counted=MANY),
    Workload("target path", "skill_target_path('project', project)", 0.5, 0.15, counted=MANY),
]
FILES = [
    Workload("stamp of an installed document", STAMP, 0.2, 0.1, copies=OWN, files=read_one, counted=MANY),
    Workload("install fresh", INSTALL_FRESH, 0.09, 0.04, files=write, fresh=True),
    Workload("install up to date", INSTALL, 0.09, 0.05, copies=OWN, files=find_and_read),
    Workload("install forced", INSTALL_FORCED, 0.1, 0.06, copies=OWN, files=rewrite),
    Workload("install dry run, nothing there", DRY_RUN, 0.08, 0.04, files=find),
    Workload("status", STATUS, 0.09, 0.04, copies=BOTH, files=read_all),
    Workload("status, nothing there", STATUS, 0.07, 0.035, files=read_all),
    Workload("shadowed", SHADOWED, 0.07, 0.035, copies=BOTH, files=find_pairs),
]


def growth(agents: int, must: float | None = None, aim: float | None = None) -> list[Workload]:
    """Status and up-to-date install for agents with one directory each."""
    table = separate_agents(agents)
    return [
        Workload(f"status, agents: {agents}", STATUS, must, aim, table, BOTH, read_all),
        Workload(f"install up to date, agents: {agents}", INSTALL, must, aim, table, OWN, find_and_read),
    ]


ROWS = [IMPORT, *PLANNING, *VALUES, *FILES, *growth(1), *growth(4), *growth(16), *growth(64, 0.09, 0.05)]
