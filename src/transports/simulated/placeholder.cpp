namespace Zevrin {}
