# fish completion for gatehall-switch(1)

complete -c gatehall-switch -f -o suspend -d 'Bring up the login screen'
complete -c gatehall-switch -x -o switchToUserID -d 'Switch to the user' \
    -a '(getent passwd | awk -F: \'{ print $3 "\t" $1 }\')'
