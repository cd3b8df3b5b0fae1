% What the program starts Octave with: takes a line at a time from the standard input, evaluates it and answers with one
% line that begins with a mark.
%
% Reads without blocking, because Octave looks after its windows only while it pauses. A read that finds nothing sets the
% error number; the end of the input does not, but neither does, now and then, a read just after a window closed, so only
% several in a row count as the end. Octave's image of its variables is of no use to anyone here. The environment
% variable keeps a folder out of the m-function that somebody else's environment names.
%
% At the end of the input Octave goes on until the user has closed the last window.
crash_dumps_octave_core(false);
sighup_dumps_octave_core(false);
sigterm_dumps_octave_core(false);
setenv("OSTRAVEL_PLOT_FOLDER", pwd());
fcntl(stdin, F_SETFL, O_NONBLOCK);
ends__ = 0;
while ends__ < 5
    errno(0);
    line__ = fgetl(stdin);
    error__ = errno();
    if ischar(line__)
        ends__ = 0;
        try
            eval(line__);
            printf("\nplot-engine:done\n");
        catch failure__
            printf("\nplot-engine:failed %s\n", strrep(failure__.message, "\n", " "));
        end
        fflush(stdout);
    else
        if error__ == 0
            ends__ = ends__ + 1;
        else
            ends__ = 0;
        end
        pause(0.03);
        fclear(stdin);
    end
end
printf("\nplot-engine:done\n");
fflush(stdout);
while ! isempty(get(0, "children"))
    pause(0.2);
end
